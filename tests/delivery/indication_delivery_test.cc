// TIndicationDelivery against real listeners on loopback (TTestListener):
// order, retries, drops and their reports, bounded queues, independence
// of destinations, connections, TLS, Forget and Stop.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "delivery/indication_delivery.h"
#include "tests/delivery/test_listener.h"

namespace {

using std::chrono::milliseconds;
typedef std::chrono::steady_clock TClock;

// Quick tries, so that every test ends in a few seconds.
TDeliveryConfig Quick() {
  TDeliveryConfig config;
  config.retryAttempts = 2;
  config.retryInterval = milliseconds(20);
  config.requestTimeout = milliseconds(2000);
  config.shutdownGrace = milliseconds(500);
  return config;
}

// Indication `i`, in pieces as the server makes them: an instance shared
// by every body, with the number put in as its property's value.
std::shared_ptr<const TExportBody> Body(int i) {
  static const auto shared =
      std::make_shared<const std::string>("<INSTANCE CLASSNAME=\"T\"><PROPERTY NAME=\"N\"></PROPERTY></INSTANCE>");
  return std::make_shared<const TExportBody>("<CIM>", shared, shared->find("</PROPERTY>"),
                                             "<VALUE>" + std::to_string(i) + "</VALUE>", "</CIM>");
}

std::vector<std::string> Bodies(int from, int to) {
  std::vector<std::string> bodies;
  for (int i = from; i < to; ++i) bodies.push_back(Body(i)->Text());
  return bodies;
}

TDestination To(const TTestListener& listener, const std::string& key = "dest") {
  return TDestination{key, listener.Url(), "", ""};
}

// Waits for `done` to hold, up to `limit`.
template <class F>
bool Eventually(F done, milliseconds limit = milliseconds(5000)) {
  const auto end = TClock::now() + limit;
  while (!done()) {
    if (TClock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(2));
  }
  return true;
}

// A certificate made for the test, and a file that trusts it (for
// TDeliveryConfig::trustedCertificates), removed with it.
struct TTrustedCertificate {
  explicit TTrustedCertificate(const std::string& name)
      : certificate(MakeTestCertificate()), file(testing::TempDir() + name) {
    std::ofstream(file) << certificate.certificatePem;
  }
  ~TTrustedCertificate() { std::remove(file.c_str()); }
  const TTestCertificate certificate;
  const std::string file;
};

size_t Lines(const std::string& log, const std::string& part) {
  size_t n = 0;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) n += line.find(part) != std::string::npos;
  return n;
}

TEST(IndicationDeliveryTest, SendsTheExportHeadersAndCredentials) {
  struct TCase {
    std::string user, password, authorization;
  } cases[] = {{"", "", ""}, {"alice", "se:cret", "Basic YWxpY2U6c2U6Y3JldA=="}};
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.user);
    TTestListener listener;
    std::ostringstream log;
    TIndicationDelivery delivery(Quick(), log);
    delivery.Send(TDestination{"d", listener.Url("/cimlistener/one?x=1"), c.user, c.password}, Body(1), "s");
    ASSERT_TRUE(listener.WaitForAccepted(1, milliseconds(3000)));
    const TReceived got = listener.Received()[0];
    EXPECT_EQ(got.target, "/cimlistener/one?x=1");
    EXPECT_EQ(got.body, Body(1)->Text());
    const std::map<std::string, std::string> want = {
        {"content-type", "application/xml; charset=\"utf-8\""},
        {"cimexport", "MethodRequest"},
        {"cimexportmethod", "ExportIndication"},
        {"cimprotocolversion", "1.0"},
        {"host", "127.0.0.1:" + std::to_string(listener.Port())},
        {"content-length", std::to_string(Body(1)->Size())}};
    for (const auto& [name, value] : want) {
      EXPECT_EQ(got.headers.count(name) ? got.headers.at(name) : "(none)", value) << name;
    }
    EXPECT_EQ(got.headers.count("authorization") ? got.headers.at("authorization") : "", c.authorization);
  }
}

// Failures that the retries outlast: everything arrives, in order, and the
// retries are counted.
TEST(IndicationDeliveryTest, RetriesDeliverInOrderWhenTheListenerRecovers) {
  struct TCase {
    const char* name;
    std::function<TReply(size_t)> replies;
    bool downFirst;
    size_t retries;  // expected, or 0 for "some"
  } cases[] = {
      {"down then up", nullptr, true, 0},
      {"two 500s", [](size_t i) { return TReply{i < 2 ? 500u : 200u}; }, false, 2},
      {"two CIM errors", [](size_t i) { TReply r; r.cimError = i < 2; return r; }, false, 2},
      {"one hang", [](size_t i) { TReply r; r.hang = i == 0; return r; }, false, 1},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener;
    if (c.replies) listener.SetReplies(c.replies);
    if (c.downFirst) listener.Down();
    TDeliveryConfig config = Quick();
    config.retryAttempts = 50;
    config.requestTimeout = milliseconds(300);
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    for (int i = 0; i < 20; ++i) delivery.Send(To(listener), Body(i), "sub");
    if (c.downFirst) {
      std::this_thread::sleep_for(milliseconds(200));
      listener.Up();
    }
    ASSERT_TRUE(listener.WaitForAccepted(20, milliseconds(5000)));
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(0, 20));
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").sent == 20; }));
    const TDeliveryCounts counts = delivery.Counts("dest");
    EXPECT_EQ(counts.dropped, 0u);
    if (c.retries) {
      EXPECT_EQ(counts.retried, c.retries);
    } else {
      EXPECT_GT(counts.retried, 0u);
    }
    EXPECT_TRUE(delivery.TakeFailures().empty());
  }
}

// Failures that outlast the retries: each indication is tried 1 + 2 times,
// then dropped, counted, reported once with its subscriptions, and logged
// once for the episode, whose end the next delivery logs.
TEST(IndicationDeliveryTest, DropsWhenRetriesAreSpentAndReportsIt) {
  struct TCase {
    const char* name;
    TReply reply;
    bool down;
    const char* reason;
  } cases[] = {
      {"500", TReply{500}, false, "HTTP 500"},
      {"CIM error", [] { TReply r; r.cimError = true; return r; }(), false, "CIM error 1: refused by the test"},
      {"refused", TReply{}, true, "connecting"},
      {"no answer", [] { TReply r; r.hang = true; return r; }(), false, "no answer within 100 ms"},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener;
    listener.SetReplies([&](size_t) { return c.reply; });
    if (c.down) listener.Down();
    TDeliveryConfig config = Quick();
    config.requestTimeout = milliseconds(100);
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    const char* subscriptions[] = {"s1", "s2", "s1"};
    for (int i = 0; i < 3; ++i) delivery.Send(To(listener), Body(i), subscriptions[i]);
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").dropped == 3; }));
    TDeliveryCounts counts = delivery.Counts("dest");
    EXPECT_EQ(counts.sent, 0u);
    EXPECT_EQ(counts.retried, 6u);
    EXPECT_EQ(counts.queued, 0u);
    if (!c.down) {
      EXPECT_EQ(listener.Received().size(), 9u);
    }
    const std::vector<TDeliveryFailure> failures = delivery.TakeFailures();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].destinationKey, "dest");
    EXPECT_EQ(failures[0].kind, EDeliveryFailure::kRetriesSpent);
    EXPECT_EQ(failures[0].dropped, 3u);
    EXPECT_EQ(failures[0].subscriptionKeys, (std::vector<std::string>{"s1", "s2"}));
    EXPECT_NE(failures[0].reason.find(c.reason), std::string::npos) << failures[0].reason;
    EXPECT_TRUE(delivery.TakeFailures().empty());

    listener.SetReplies([](size_t) { return TReply{}; });
    if (c.down) listener.Up();
    delivery.Send(To(listener), Body(3), "s1");
    ASSERT_TRUE(listener.WaitForAccepted(1, milliseconds(3000)));
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(3, 4));
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").sent == 1; }));
    delivery.Stop();
    EXPECT_EQ(Lines(log.str(), "inmem serve: dropping indications for destination dest"), 1u) << log.str();
    EXPECT_EQ(Lines(log.str(), "reach destination dest again; 3 were dropped"), 1u) << log.str();
  }
}

TEST(IndicationDeliveryTest, AHungListenerKeepsTheQueueBoundedAndSendFast) {
  TTestListener listener;
  listener.SetReplies([](size_t) { TReply r; r.hang = true; return r; });
  TDeliveryConfig config = Quick();
  config.maxQueue = 1000;
  config.requestTimeout = milliseconds(60000);
  config.shutdownGrace = milliseconds(200);
  std::ostringstream log;
  TIndicationDelivery delivery(config, log);
  delivery.Send(To(listener), Body(0), "s");
  ASSERT_TRUE(listener.WaitForReceived(1, milliseconds(3000)));
  auto body = std::make_shared<const TExportBody>(std::string(2048, 'x'));
  const auto start = TClock::now();
  for (int i = 0; i < 10000; ++i) delivery.Send(To(listener), body, "s");
  const auto took = TClock::now() - start;
  EXPECT_LT(took, milliseconds(250)) << std::chrono::duration<double, std::milli>(took).count() << " ms";
  TDeliveryCounts counts = delivery.Counts("dest");
  EXPECT_EQ(counts.queued, 1000u);
  EXPECT_EQ(counts.dropped, 9001u);
  const std::vector<TDeliveryFailure> failures = delivery.TakeFailures();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].kind, EDeliveryFailure::kQueueOverflow);
  EXPECT_EQ(failures[0].dropped, 9001u);

  const auto stopping = TClock::now();
  delivery.Stop();
  EXPECT_LT(TClock::now() - stopping, milliseconds(1500));
  counts = delivery.Counts("dest");
  EXPECT_EQ(counts.queued, 0u);
  EXPECT_EQ(counts.dropped, 10001u);
  EXPECT_EQ(Lines(log.str(), "dropping indications for destination dest"), 1u) << log.str();
  EXPECT_EQ(Lines(log.str(), "indication delivery stopped; 1000 indications still queued"), 1u) << log.str();
}

TEST(IndicationDeliveryTest, ADeadDestinationDoesNotHoldUpAnother) {
  for (const bool hang : {true, false}) {
    SCOPED_TRACE(hang ? "hung" : "down");
    TTestListener dead, live;
    dead.SetReplies([](size_t) { TReply r; r.hang = true; return r; });
    if (!hang) dead.Down();
    TDeliveryConfig config = Quick();
    config.requestTimeout = milliseconds(60000);
    config.retryAttempts = 1000;
    config.shutdownGrace = milliseconds(100);
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    const auto start = TClock::now();
    for (int i = 0; i < 500; ++i) {
      delivery.Send(To(dead, "dead"), Body(i), "s");
      delivery.Send(To(live, "live"), Body(i), "s");
    }
    ASSERT_TRUE(live.WaitForAccepted(500, milliseconds(3000)));
    EXPECT_LT(TClock::now() - start, milliseconds(1500));
    EXPECT_EQ(live.AcceptedBodies(), Bodies(0, 500));
    EXPECT_EQ(delivery.Counts("dead").sent, 0u);
    EXPECT_GE(delivery.Counts("dead").queued, 499u);
  }
}

TEST(IndicationDeliveryTest, StopDeliversWithinTheGraceThenDrops) {
  struct TCase {
    const char* name;
    milliseconds delay, grace;
    uint64_t minSent, maxSent;
  } cases[] = {
      {"within the grace", milliseconds(5), milliseconds(3000), 30, 30},
      {"past the grace", milliseconds(200), milliseconds(500), 1, 3},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener;
    listener.SetReplies([&](size_t) { TReply r; r.delay = c.delay; return r; });
    TDeliveryConfig config = Quick();
    config.shutdownGrace = c.grace;
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    for (int i = 0; i < 30; ++i) delivery.Send(To(listener), Body(i), "s");
    const auto start = TClock::now();
    delivery.Stop();
    EXPECT_LT(TClock::now() - start, c.grace + milliseconds(300));
    const TDeliveryCounts counts = delivery.Counts("dest");
    EXPECT_GE(counts.sent, c.minSent);
    EXPECT_LE(counts.sent, c.maxSent);
    EXPECT_EQ(counts.dropped, 30 - counts.sent);
    EXPECT_EQ(counts.queued, 0u);
    // The listener may have read one more whose answer came too late.
    std::vector<std::string> got = listener.AcceptedBodies();
    EXPECT_LE(got.size(), counts.sent + 1);
    got.resize(std::min<size_t>(got.size(), counts.sent));
    EXPECT_EQ(got, Bodies(0, static_cast<int>(counts.sent)));
    EXPECT_EQ(Lines(log.str(), "indication delivery stopped"), counts.sent == 30 ? 0u : 1u) << log.str();
    delivery.Send(To(listener), Body(99), "s");  // after Stop: dropped
    EXPECT_EQ(delivery.Counts("dest").dropped, 31 - counts.sent);
  }
}

TEST(IndicationDeliveryTest, ForgetDropsTheQueueAndAbandonsTheTry) {
  TTestListener listener;
  listener.SetReplies([](size_t i) { TReply r; r.hang = i == 0; return r; });
  TDeliveryConfig config = Quick();
  config.requestTimeout = milliseconds(60000);
  std::ostringstream log;
  TIndicationDelivery delivery(config, log);
  for (int i = 0; i < 5; ++i) delivery.Send(To(listener), Body(i), "s");
  ASSERT_TRUE(listener.WaitForReceived(1, milliseconds(3000)));
  delivery.Forget("dest");
  TDeliveryCounts counts = delivery.Counts("dest");
  EXPECT_EQ(counts.queued, 0u);
  EXPECT_EQ(counts.dropped, 5u);
  delivery.Send(To(listener), Body(5), "s");
  ASSERT_TRUE(listener.WaitForAccepted(1, milliseconds(3000)));
  EXPECT_EQ(listener.AcceptedBodies(), Bodies(5, 6));
  EXPECT_TRUE(delivery.TakeFailures().empty());
  delivery.Stop();
  EXPECT_EQ(Lines(log.str(), "destination dest is gone; 5 indications"), 1u) << log.str();
}

TEST(IndicationDeliveryTest, HttpsChecksTheListenersCertificate) {
  const TTrustedCertificate trustedFile("delivery-trusted.pem");
  const TTestCertificate& certificate = trustedFile.certificate;
  const std::string& trusted = trustedFile.file;
  struct TCase {
    const char* name;
    bool trust, verify;
    const char* host;
    bool delivered;
  } cases[] = {
      {"trusted", true, true, "127.0.0.1", true},
      {"trusted, by name", true, true, "localhost", true},
      {"unknown authority", false, true, "127.0.0.1", false},
      {"not checked", false, false, "127.0.0.1", true},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener(&certificate);
    TDeliveryConfig config = Quick();
    config.retryAttempts = 0;
    config.verifyListenerCertificate = c.verify;
    if (c.trust) config.trustedCertificates = trusted;
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    const std::string url = "https://" + std::string(c.host) + ":" + std::to_string(listener.Port()) + "/l";
    delivery.Send(TDestination{"dest", url, "", ""}, Body(1), "s");
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").queued == 0; }));
    EXPECT_EQ(delivery.Counts("dest").sent, c.delivered ? 1u : 0u);
    EXPECT_EQ(listener.AcceptedBodies().size(), c.delivered ? 1u : 0u);
    if (!c.delivered) {
      const auto failures = delivery.TakeFailures();
      ASSERT_EQ(failures.size(), 1u);
      EXPECT_NE(failures[0].reason.find("certificate verify failed"), std::string::npos) << failures[0].reason;
    }
  }
}

TEST(IndicationDeliveryTest, AnUnusableUrlDropsAtOnceWithoutRetries) {
  TDeliveryConfig config = Quick();
  config.retryInterval = milliseconds(5000);
  std::ostringstream log;
  TIndicationDelivery delivery(config, log);
  delivery.Send(TDestination{"dest", "gopher://127.0.0.1/", "", ""}, Body(1), "s");
  ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").dropped == 1; }, milliseconds(1000)));
  EXPECT_EQ(delivery.Counts("dest").retried, 0u);
  const auto failures = delivery.TakeFailures();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].kind, EDeliveryFailure::kUnusableUrl);
  EXPECT_NE(failures[0].reason.find("scheme"), std::string::npos);
}

// A listener that reads ahead sees requests unanswered up to the depth,
// never more, and every indication once, in order, on one connection. Some
// answers are slow, so that the pipeline fills behind them. (A backlog
// refills the pipeline half at a time, so how full it is when a slow
// answer comes varies; it is more than half full.)
TEST(IndicationDeliveryTest, PipelinesUpToTheDepthInOrder) {
  const TTrustedCertificate trustedFile("delivery-pipeline-trusted.pem");
  const TTestCertificate& certificate = trustedFile.certificate;
  const std::string& trusted = trustedFile.file;
  struct TCase {
    const char* name;
    unsigned depth;
    bool tls;
    size_t outstanding;  // the most the listener may see
  } cases[] = {
      {"depth 1", 1, false, 1},   {"depth 0 counts as 1", 0, false, 1}, {"depth 4", 4, false, 4},
      {"depth 16", 16, false, 16}, {"depth 16, https", 16, true, 16},
  };
  const int count = 3000;
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener(c.tls ? &certificate : nullptr);
    listener.ReadAhead(true);
    listener.SetReplies([](size_t i) { TReply r; r.delay = milliseconds(i % 150 == 0 ? 10 : 0); return r; });
    TDeliveryConfig config = Quick();
    config.pipelineDepth = c.depth;
    config.trustedCertificates = trusted;
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    for (int i = 0; i < count; ++i) delivery.Send(To(listener), Body(i), "sub");
    ASSERT_TRUE(listener.WaitForAccepted(count, milliseconds(20000)));
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").sent == count; }));
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(0, count));
    size_t most = 0;
    for (const TReceived& r : listener.Received()) {
      most = std::max(most, r.outstanding);
      EXPECT_EQ(r.connection, 1u);
    }
    EXPECT_LE(most, c.outstanding);
    EXPECT_GT(most, c.outstanding / 2);
    const TDeliveryCounts counts = delivery.Counts("dest");
    EXPECT_EQ(counts.dropped + counts.queued + counts.retried, 0u);
  }
}

// Gathering: after a quiet window an indication goes at once; what comes
// within the window waits for its end and goes together; a backlog larger
// than the pipeline does not wait for windows at all.
TEST(IndicationDeliveryTest, GathersWhatComesWithinTheWindowButNotABacklog) {
  const milliseconds window(1000);
  TDeliveryConfig config = Quick();
  config.gatherWindow = window;
  {
    TTestListener listener;
    listener.ReadAhead(true);
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    const TClock::time_point sent = TClock::now();
    delivery.Send(To(listener), Body(0), "s");
    ASSERT_TRUE(listener.WaitForAccepted(1, milliseconds(5000)));
    const TClock::time_point first = listener.Received()[0].at;
    EXPECT_LT(first - sent, window / 2);
    for (int i = 1; i < 6; ++i) delivery.Send(To(listener), Body(i), "s");
    ASSERT_TRUE(listener.WaitForAccepted(6, milliseconds(5000)));
    const std::vector<TReceived> got = listener.Received();
    // They went a window after the first was handed out, which was after
    // `sent`; together, so read close to one another.
    EXPECT_GE(got[1].at - sent, window);
    EXPECT_LT(got[5].at - got[1].at, window / 2);
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(0, 6));
  }
  {
    TTestListener listener;
    listener.ReadAhead(true);
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    const int count = 200;  // twelve pipelines' worth: twelve windows, were they held
    const TClock::time_point sent = TClock::now();
    for (int i = 0; i < count; ++i) delivery.Send(To(listener), Body(i), "s");
    ASSERT_TRUE(listener.WaitForAccepted(count, milliseconds(20000)));
    EXPECT_LT(listener.Received().back().at - sent, window * 5);
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(0, count));
  }
}

// The indices of the bodies the listener read, in the order it read them.
std::vector<int> ReadOrder(const TTestListener& listener) {
  std::vector<int> order;
  for (const TReceived& r : listener.Received()) {
    const size_t at = r.body.find("<VALUE>") + 7;
    order.push_back(std::stoi(r.body.substr(at, r.body.find('<', at) - at)));
  }
  return order;
}

// Whether `order` holds 0..count-1 in order, save that it may go back to
// send a run again, starting less than `depth` places back (no further
// than the first indication in flight).
void ExpectInOrderWithRuns(const std::vector<int>& order, int count, unsigned depth) {
  ASSERT_FALSE(order.empty());
  EXPECT_EQ(order.front(), 0);
  EXPECT_EQ(order.back(), count - 1);
  for (size_t i = 1; i < order.size(); ++i) {
    const int step = order[i] - order[i - 1];
    EXPECT_TRUE(step == 1 || (step <= 0 && -step < static_cast<int>(depth)))
        << "at " << i << ": " << order[i - 1] << " then " << order[i];
  }
}

// One request fails while the pipeline is full (indication `kFailing`,
// with those behind it written already). Everything still arrives, in
// order: what follows the failed one may arrive twice, once before it is
// retried and once after, but only what was written behind it. A listener
// that closes the connection after answering costs no retry; one that says
// so and closes gracefully gets nothing twice, one that closes at once
// resets the connection and may lose answers, whose indications then
// arrive again. With a depth of 1 nothing ever arrives twice.
TEST(IndicationDeliveryTest, AFailureInAFullPipelineResendsFromTheFailedOne) {
  const size_t kFailing = 200;
  const int count = 600;
  struct TCase {
    const char* name;
    TReply reply;  // to the request numbered kFailing
    uint64_t retries;
    bool mayRepeat;  // what was written behind it may arrive twice
    bool closes;     // the connection ends with it (else only when others were behind it)
  } cases[] = {
      {"500", TReply{500}, 1, true, false},
      {"CIM error", [] { TReply r; r.cimError = true; return r; }(), 1, true, false},
      {"no answer", [] { TReply r; r.hang = true; return r; }(), 1, false, true},
      {"Connection: close", [] { TReply r; r.close = true; return r; }(), 0, false, true},
      {"closed at once", [] { TReply r; r.closeAfter = true; return r; }(), 0, true, true},
  };
  for (const unsigned depth : {16u, 1u}) {
    for (const TCase& c : cases) {
      SCOPED_TRACE(std::string(c.name) + ", depth " + std::to_string(depth));
      TTestListener listener;
      listener.SetReplies([&](size_t i) {
        // Slow answers just before it let the pipeline fill.
        TReply r = i == kFailing ? c.reply : TReply{};
        if (i + 3 > kFailing && i < kFailing) r.delay = milliseconds(5);
        return r;
      });
      TDeliveryConfig config = Quick();
      config.pipelineDepth = depth;
      config.requestTimeout = milliseconds(300);
      std::ostringstream log;
      TIndicationDelivery delivery(config, log);
      for (int i = 0; i < count; ++i) delivery.Send(To(listener), Body(i), "sub");
      ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").sent == count; }, milliseconds(20000)));
      const TDeliveryCounts counts = delivery.Counts("dest");
      EXPECT_EQ(counts.retried, c.retries);
      EXPECT_EQ(counts.dropped, 0u);
      EXPECT_TRUE(delivery.TakeFailures().empty());

      const std::vector<int> order = ReadOrder(listener);
      const std::vector<TReceived> received = listener.Received();
      EXPECT_EQ(received[kFailing].connection, 1u);
      EXPECT_EQ(received.back().connection, c.closes || depth > 1 ? 2u : 1u);
      if (c.retries == 0 && c.mayRepeat) {
        ExpectInOrderWithRuns(order, count, depth);
        continue;
      }
      // Read: 0..kFailing, then kFailing+1..kFailing+m read before the
      // failure was seen, then (when retried) kFailing.., each time in order.
      const bool retried = c.retries > 0;
      ASSERT_GE(order.size(), static_cast<size_t>(count) + retried);
      const size_t repeated = order.size() - count - retried;
      std::vector<int> want;
      for (int i = 0; i <= static_cast<int>(kFailing + repeated); ++i) want.push_back(i);
      for (int i = retried ? kFailing : kFailing + repeated + 1; i < count; ++i) want.push_back(i);
      EXPECT_EQ(order, want);
      EXPECT_LE(repeated, c.mayRepeat ? depth - 1 : 0u);
    }
  }
}

// One connection carries every indication to a listener that keeps it.
// Listeners that keep no connection, or end each one after a few answers,
// cost no retry. Saying Connection: close and closing gracefully, they get
// every indication once, in order, each connection carrying what they
// answer on it. So does one that closes at once after every answer: a new
// connection carries one request until answered, so nothing is pipelined
// that its close would reset. Closing at once after several answers resets
// what was pipelined, which then arrives again, in order.
TEST(IndicationDeliveryTest, ListenersThatCloseConnections) {
  struct TCase {
    const char* name;
    size_t every;  // the listener ends the connection after this many answers
    bool say;      // with Connection: close, gracefully; else at once
    bool readAhead;
    bool once;  // each indication arrives once (else runs may arrive again)
  } cases[] = {
      {"kept", 1000, true, false, true},
      {"Connection: close on every answer", 1, true, false, true},
      {"Connection: close on every answer, reading ahead", 1, true, true, true},
      {"closed at once after every answer", 1, false, false, true},
      {"Connection: close after 10", 10, true, false, true},
      {"Connection: close after 10, reading ahead", 10, true, true, true},
      {"closed at once after 10", 10, false, false, false},
      {"closed at once after 10, reading ahead", 10, false, true, false},
  };
  const int count = 200;
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    TTestListener listener;
    listener.ReadAhead(c.readAhead);
    listener.SetReplies([&](size_t i) {
      TReply r;
      const bool last = i % c.every == c.every - 1;
      r.close = last && c.say;
      r.closeAfter = last && !c.say;
      return r;
    });
    TDeliveryConfig config = Quick();
    config.retryInterval = milliseconds(3000);  // a retry would also show in the time taken
    std::ostringstream log;
    TIndicationDelivery delivery(config, log);
    for (int i = 0; i < count; ++i) delivery.Send(To(listener), Body(i), "sub");
    ASSERT_TRUE(Eventually([&] { return delivery.Counts("dest").sent == count; }));
    EXPECT_EQ(delivery.Counts("dest").retried, 0u);
    if (!c.once) {
      ExpectInOrderWithRuns(ReadOrder(listener), count, config.pipelineDepth);
      continue;
    }
    EXPECT_EQ(listener.AcceptedBodies(), Bodies(0, count));
    const std::vector<TReceived> received = listener.Received();
    ASSERT_EQ(received.size(), static_cast<size_t>(count));
    for (size_t i = 0; i < received.size(); ++i) {
      EXPECT_EQ(received[i].connection, i / c.every + 1) << i;
    }
  }
}

}  // namespace
