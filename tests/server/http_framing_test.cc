// inmem's server reading hostile and unusual requests over a real loopback
// socket: how requests are framed (RFC 9112), the bounds on what a client
// can make the server hold, path texts that grow with nesting, and which
// connection goes when every slot is taken. Each case writes raw bytes and
// checks the answers and whether the connection stays open.

#include <atomic>
#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "server/wbem_server.h"
#include "tests/server/loopback_client.h"
#include "tests/server/running_server.h"
#include "tests/server/server_fixture.h"

namespace {

typedef std::chrono::steady_clock TClock;

const size_t kMaxBody = 64u << 10;
const size_t kMaxHeader = 2u << 10;
const size_t kMaxConnections = 4;

std::string Repeat(const std::string& text, size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (size_t i = 0; i < times; ++i) out += text;
  return out;
}

// The head of a POST of a CIM operation, without its framing fields or the
// empty line that ends it.
std::string Head(const std::string& method, const std::string& version = "1.1") {
  return "POST /cimom HTTP/" + version + "\r\nHost: localhost\r\nCIMOperation: MethodCall\r\nCIMMethod: " +
         method + "\r\nCIMObject: root%2Fcimv2\r\nContent-Type: application/xml; charset=utf-8\r\n";
}

const std::string kEnumerate = Envelope("EnumerateClassNames", "");

// A request that is fine in every way, framed by its length.
std::string Good() {
  return Head("EnumerateClassNames") + "Content-Length: " + std::to_string(kEnumerate.size()) + "\r\n\r\n" +
         kEnumerate;
}

// `body` as one chunk and the last chunk.
std::string Chunked(const std::string& body) {
  std::ostringstream out;
  out << std::hex << body.size() << "\r\n" << body << "\r\n0\r\n\r\n";
  return out.str();
}

class HttpFramingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ns_ = FixtureNamespace();
    ASSERT_TRUE(ns_);
    namespaces_ = ServingAlone(ns_);
    operations_ = std::make_unique<TCimOperations>(*namespaces_, TCimOperationsConfig());
    TWbemServerConfig config;
    config.listen.push_back(TListenAddress{"127.0.0.1", 0, false});
    config.maxBodyBytes = kMaxBody;
    config.maxHeaderBytes = kMaxHeader;
    config.http.xml.maxTextBytes = kMaxBody;
    config.maxConnections = kMaxConnections;
    config.idleTimeout = std::chrono::seconds(20);
    config.requestTimeout = std::chrono::seconds(20);
    config.threads = 2;  // connections on either thread: the admission and eviction paths race
    server_ = std::make_unique<TRunningServer>(*operations_, config, access_);
    port_ = server_->Port();
  }

  // Stops the server; its access log may be read after.
  void StopServer() { server_->Stop(); }

  // Writes `bytes` on a new connection and reads what comes back.
  std::unique_ptr<TLoopbackClient> Exchange(const std::string& bytes) {
    auto client = std::make_unique<TLoopbackClient>(port_);
    EXPECT_TRUE(client->Connected());
    client->Send(bytes);
    client->Read();
    return client;
  }

  boost::shared_ptr<ICIMNamespace> ns_;
  std::unique_ptr<TNamespaceRegistry> namespaces_;
  std::unique_ptr<TCimOperations> operations_;
  std::ostringstream access_;  // read only once the server has stopped
  std::unique_ptr<TRunningServer> server_;
  unsigned short port_ = 0;
};

struct TFramingCase {
  const char* name;
  std::string request;  // a good request follows it in the same write
  std::vector<unsigned> statuses;
  bool closed;
};

// Only one way to find where a request ends is taken; any doubt about it
// is a refusal that closes the connection, so that the request sent behind
// it (which a front end may have taken as this one's body) is never run.
TEST_F(HttpFramingTest, RequestsAreFramedOneWayOrRefusedAndClosed) {
  const std::string body = kEnumerate;
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n";
  const std::string head = Head("EnumerateClassNames");
  const TFramingCase cases[] = {
      {"gzip alone", head + "Transfer-Encoding: gzip\r\n\r\n", {400}, true},
      {"an unknown coding", head + "Transfer-Encoding: xchunked\r\n\r\n", {400}, true},
      {"identity", head + "Transfer-Encoding: identity\r\n\r\n", {400}, true},
      {"chunked twice in one field", head + "Transfer-Encoding: chunked, chunked\r\n\r\n" + Chunked(body), {400}, true},
      {"chunked twice in two fields",
       head + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n" + Chunked(body), {400}, true},
      {"chunked not last", head + "Transfer-Encoding: chunked, gzip\r\n\r\n" + Chunked(body), {400}, true},
      {"chunked in a field before gzip", head + "Transfer-Encoding: chunked\r\nTransfer-Encoding: gzip\r\n\r\n",
       {400}, true},
      {"a coding the server does not apply", head + "Transfer-Encoding: gzip, chunked\r\n\r\n" + Chunked(body),
       {501}, true},
      {"Transfer-Encoding and Content-Length",
       head + "Transfer-Encoding: gzip\r\n" + length + "\r\n" + body, {400}, true},
      {"Content-Length and chunked", head + length + "Transfer-Encoding: chunked\r\n\r\n" + Chunked(body), {400},
       true},
      {"differing lengths in two fields", head + length + "Content-Length: 3\r\n\r\n" + body, {400}, true},
      {"differing lengths in one field",
       head + "Content-Length: " + std::to_string(body.size()) + ", 3\r\n\r\n" + body, {400}, true},
      {"a length that is no number", head + "Content-Length: 1e3\r\n\r\n" + body, {400}, true},
      {"HTTP/1.0 keep-alive, chunked",
       Head("EnumerateClassNames", "1.0") + "Connection: keep-alive\r\nTransfer-Encoding: chunked\r\n\r\n" +
           Chunked(body),
       {400}, true},
      {"HTTP/2", "POST /cimom HTTP/2.0\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n", {400}, true},
      {"blanks before a field's colon", head + "Transfer-Encoding : chunked\r\n\r\n" + Chunked(body), {400}, true},
      {"a field folded onto the next line is read as one",
       head + "Transfer-Encoding: gzip,\r\n chunked\r\n\r\n" + Chunked(body), {501}, true},
      {"a bare LF ends a chunk size", head + "Transfer-Encoding: chunked\r\n\r\n5\n", {400}, true},
      {"chunk data longer than its size", head + "Transfer-Encoding: chunked\r\n\r\n1\r\nab\r\n0\r\n\r\n", {400},
       true},
      {"no hex digit where a size begins", head + "Transfer-Encoding: chunked\r\n\r\n;x\r\n", {400}, true},
      {"a folded trailer line", head + "Transfer-Encoding: chunked\r\n\r\n" +
                                    Chunked(body).substr(0, Chunked(body).size() - 2) + "X: a\r\n b\r\n\r\n",
       {400}, true},
      // What is fine stays fine, and the request behind it is answered.
      {"a length", Good(), {200, 200}, false},
      {"the same length twice", head + length + length + "\r\n" + body, {200, 200}, false},
      {"chunked in any letter case", head + "Transfer-Encoding:  Chunked \r\n\r\n" + Chunked(body), {200, 200},
       false},
      {"chunks with extensions and trailers",
       head + "Transfer-Encoding: chunked\r\n\r\n" + "a;name=\"quoted; value\";flag\r\n" + body.substr(0, 10) +
           "\r\n" + Chunked(body.substr(10)).substr(0, Chunked(body.substr(10)).size() - 2) +
           "X-Checksum: 1234\r\n\r\n",
       {200, 200}, false},
      {"HTTP/1.0 with a length, keep-alive",
       Head("EnumerateClassNames", "1.0") + "Connection: keep-alive\r\n" + length + "\r\n" + body, {200, 200},
       false},
  };
  for (const TFramingCase& c : cases) {
    SCOPED_TRACE(c.name);
    auto client = Exchange(c.request + Good());
    EXPECT_EQ(client->Statuses(), c.statuses);
    EXPECT_EQ(client->Closed(), c.closed);
  }
}

// A client waiting for 100 Continue gets it, and nothing at all when its
// body could not be taken anyway.
TEST_F(HttpFramingTest, ExpectContinue) {
  auto client = Exchange(Head("EnumerateClassNames") + "Expect: 100-continue\r\nContent-Length: " +
                         std::to_string(kEnumerate.size()) + "\r\n\r\n" + kEnumerate);
  EXPECT_EQ(client->Statuses(), (std::vector<unsigned>{100, 200}));
  client = Exchange(Head("EnumerateClassNames") + "Expect: 100-continue\r\nContent-Length: " +
                    std::to_string(kMaxBody + 1) + "\r\n\r\n");
  EXPECT_EQ(client->Statuses(), (std::vector<unsigned>{413}));
  EXPECT_TRUE(client->Closed());
}

struct TBoundCase {
  const char* name;
  std::string body;  // after a chunked head
  unsigned status;
};

// What a chunked body costs the server is bounded by the limits, whatever
// part of the framing the client makes long: each is refused as soon as it
// passes its bound, without waiting for the rest (which never comes).
TEST_F(HttpFramingTest, ChunkedBodiesAreBoundedAsTheyArrive) {
  const std::string head = Head("EnumerateClassNames") + "Transfer-Encoding: chunked\r\n\r\n";
  const TBoundCase cases[] = {
      {"an extension that never ends", "5;x=" + std::string(kMaxBody * 3, 'a'), 400},
      {"a chunk size of many zeros", std::string(4096, '0'), 400},
      {"a long extension on each chunk", Repeat("1;" + std::string(kMaxHeader - 8, 'e') + "\r\nx\r\n", 64), 413},
      {"trailer lines past the header limit", "0\r\n" + Repeat("X-Pad: abcdefghijklmnop\r\n", 200), 431},
      {"framing past the body limit, data within it", Repeat("1\r\nx\r\n", kMaxBody / 4), 413},
      {"a chunk size past the body limit", "10001\r\n", 413},
      {"a chunk size past 64 bits", "10000000000000000000\r\n", 413},
  };
  for (const TBoundCase& c : cases) {
    SCOPED_TRACE(c.name);
    const TClock::time_point start = TClock::now();
    TLoopbackClient client(port_);
    ASSERT_TRUE(client.Connected());
    client.Send(head + c.body);
    client.Read();
    EXPECT_EQ(client.Statuses(), std::vector<unsigned>{c.status});
    EXPECT_TRUE(client.Closed());
    EXPECT_LT(TClock::now() - start, std::chrono::seconds(4));
  }
  // Headers of exactly the limit, their empty line included, are taken;
  // one byte more is not.
  const std::string lengthField = "Content-Length: " + std::to_string(kEnumerate.size()) + "\r\n";
  const std::string padding = "X-Pad: " +
                              std::string(kMaxHeader - Head("EnumerateClassNames").size() - lengthField.size() - 11, 'p') +
                              "\r\n";
  const std::string atLimit = Head("EnumerateClassNames") + padding + lengthField + "\r\n";
  ASSERT_EQ(atLimit.size(), kMaxHeader);
  EXPECT_EQ(Exchange(atLimit + kEnumerate)->Statuses(), std::vector<unsigned>{200});
  EXPECT_EQ(Exchange(Head("EnumerateClassNames") + "X" + padding + lengthField + "\r\n" + kEnumerate)->Statuses(),
            std::vector<unsigned>{431});
  // A length over the limit is refused before any of the body is read.
  auto client = Exchange(Head("EnumerateClassNames") + "Content-Length: " + std::to_string(kMaxBody + 1) +
                         "\r\n\r\n");
  EXPECT_EQ(client->Statuses(), std::vector<unsigned>{413});
  // A body of exactly the limit, framing included, is taken: two chunks of
  // four hex digits and the last chunk take 21 bytes of framing.
  std::string data = kEnumerate + std::string(kMaxBody - 21 - kEnumerate.size(), ' ');
  std::ostringstream coded;
  coded << std::hex << 0x7ff6 << "\r\n" << data.substr(0, 0x7ff6) << "\r\n"
        << data.size() - 0x7ff6 << "\r\n" << data.substr(0x7ff6) << "\r\n0\r\n\r\n";
  const std::string chunkedBody = coded.str();
  ASSERT_EQ(chunkedBody.size(), kMaxBody);
  client = Exchange(head + chunkedBody);
  EXPECT_EQ(client->Statuses(), std::vector<unsigned>{200});
  // One byte more, in an extension of the last chunk.
  client = Exchange(head + chunkedBody.substr(0, chunkedBody.size() - 5) + "0;\r\n\r\n");
  EXPECT_EQ(client->Statuses(), std::vector<unsigned>{413});
}

// An instance name nested reference in reference through a reference key,
// with a key of backslashes at its core: each level quotes and escapes the
// text of the one inside it, doubling the backslashes. Eighteen levels are
// as deep as the XML may go.
std::string NestedInstanceName(int levels, size_t backslashes) {
  std::string name = "<INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING NAME=\"Name\"><KEYVALUE>" +
                     std::string(backslashes, '\\') + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
  for (int i = 0; i < levels; ++i) {
    name = "<INSTANCENAME CLASSNAME=\"Test_SystemDisk\"><KEYBINDING NAME=\"System\"><VALUE.REFERENCE>" + name +
           "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME>";
  }
  return name;
}

// Path texts built from a request are bounded in proportion to it: a small
// request cannot make the server build megabytes of text, and is refused
// with CIM_ERR_INVALID_PARAMETER before the text is built.
TEST_F(HttpFramingTest, NestedReferencesCannotMultiplyARequest) {
  struct {
    int levels;
    size_t backslashes;
    const char* code;
  } cases[] = {
      {18, 100, "ERROR CODE=\"4\""},  // 100 x 2^18 bytes of path text at the top
      {3, 100, "ERROR CODE=\"6\""},   // as deep as honest paths go: looked up, not there
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.levels);
    const std::string body =
        Envelope("GetInstance", Param("InstanceName", NestedInstanceName(c.levels, c.backslashes)));
    ASSERT_LT(body.size(), kMaxBody);
    const TClock::time_point start = TClock::now();
    auto client = Exchange(Head("GetInstance") + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
                           body);
    EXPECT_LT(TClock::now() - start, std::chrono::seconds(2));
    ASSERT_EQ(client->Statuses(), std::vector<unsigned>{200});
    EXPECT_NE(client->Answers()[0].body.find(c.code), std::string::npos) << client->Answers()[0].body;
  }
}

// With every connection slot taken, a new client gets in by closing the
// connection that has waited longest for its next request; connections in
// the middle of a request are never closed for it.
// A handler whose answers are made in five pieces of 64 KiB, too long to
// be sent with their length; at /fail the fourth piece cannot be made.
class TPiecesHandler : public IHttpHandler {
 public:
  THttpAnswer Answer(const THttpRequest& request, const std::string&) override {
    THttpAnswer answer;
    answer.contentType = "text/plain";
    answer.body = std::make_unique<TPieces>(request.target() == "/fail");
    return answer;
  }

 private:
  class TPieces : public TResponseBody {
   public:
    explicit TPieces(bool fail) : fail_(fail) {}
    bool Next(std::string* out, size_t size) override {
      if (fail_ && made_ == 3) throw std::runtime_error("the repository went away");
      out->append(size, static_cast<char>('a' + made_));
      return ++made_ < 5;
    }

   private:
    bool fail_;
    int made_ = 0;
  };
};

// Long answers go in chunks to every HTTP/1.1 client, and the connection
// stays for the next request; an HTTP/1.0 client reads to the end of the
// connection. An answer that cannot be finished ends with its CIM status
// in trailer fields for a client that takes them, and otherwise with the
// connection, without the last chunk: never as a shorter answer that
// looks whole.
TEST(LongAnswerTest, ChunkedForHttp11AndCutShortVisibly) {
  TPiecesHandler handler;
  TWbemServerConfig config;
  config.listen.push_back(TListenAddress{"127.0.0.1", 0, false});
  std::ostringstream access;
  TRunningServer server(handler, config, access);
  const std::string whole = std::string(64u << 10, 'a') + std::string(64u << 10, 'b') +
                            std::string(64u << 10, 'c') + std::string(64u << 10, 'd') + std::string(64u << 10, 'e');
  struct TCase {
    const char* name;
    const char* version;
    bool trailers;  // the client sends TE: trailers
    bool fail;
    size_t answers;  // whole answers of the two requests sent
    bool chunked;
    bool closed;
  } cases[] = {
      {"1.1", "1.1", false, false, 2, true, false},
      {"1.1, TE: trailers", "1.1", true, false, 2, true, false},
      {"1.0", "1.0", false, false, 1, false, true},
      {"1.1, cut short", "1.1", false, true, 0, true, true},
      {"1.1, TE: trailers, cut short", "1.1", true, true, 2, true, false},
      {"1.0, cut short", "1.0", false, true, 0, false, true},
  };
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string request = std::string("GET ") + (c.fail ? "/fail" : "/ok") + " HTTP/" + c.version +
                                "\r\nHost: localhost\r\n" + (c.trailers ? "TE: trailers\r\n" : "") + "\r\n";
    TLoopbackClient client(server.Port());
    ASSERT_TRUE(client.Connected());
    client.Send(request + request);
    client.Read();
    EXPECT_EQ(client.Closed(), c.closed);
    EXPECT_EQ(client.Answers().size(), c.answers);
    if (client.Answers().size() != c.answers) continue;
    for (const TRawAnswer& answer : client.Answers()) {
      EXPECT_EQ(answer.status, 200u);
      EXPECT_EQ(answer.chunked, c.chunked);
      if (!c.fail) {
        EXPECT_EQ(answer.body, whole);
        EXPECT_EQ(answer.fields.count("cimstatuscode"), 0u);
        continue;
      }
      EXPECT_EQ(answer.body, whole.substr(0, 3u * (64u << 10)));
      EXPECT_EQ(answer.fields.at("trailer"), "CIMStatusCode, CIMStatusCodeDescription");
      EXPECT_EQ(answer.fields.at("cimstatuscode"), "1");
      EXPECT_EQ(answer.fields.at("cimstatuscodedescription"), "the repository went away");
    }
  }
  server.Stop();
  EXPECT_NE(access.str().find("http=200 cim=1"), std::string::npos) << access.str();
}

TEST_F(HttpFramingTest, TheLongestIdleConnectionMakesRoom) {
  std::vector<std::unique_ptr<TLoopbackClient>> idle;
  for (size_t i = 0; i < kMaxConnections; ++i) {
    idle.push_back(std::make_unique<TLoopbackClient>(port_));
    ASSERT_TRUE(idle.back()->Connected());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // a clear order of waiting
  }
  // The second has been served once: it waits again, from later on.
  idle[1]->Send(Good());
  idle[1]->Read();
  ASSERT_EQ(idle[1]->Statuses(), std::vector<unsigned>{200});

  auto newcomer = Exchange(Good());
  EXPECT_EQ(newcomer->Statuses(), std::vector<unsigned>{200});
  idle[0]->Read(std::chrono::milliseconds(300), std::chrono::milliseconds(1000));
  EXPECT_TRUE(idle[0]->Closed()) << "the connection idle longest stayed open";
  auto next = Exchange(Good());
  EXPECT_EQ(next->Statuses(), std::vector<unsigned>{200});
  for (size_t i : {1, 3}) {
    idle[i]->Send(Good());
    idle[i]->Read();
    EXPECT_EQ(idle[i]->Statuses().back(), 200u) << "connection " << i;
  }
  idle[2]->Read(std::chrono::milliseconds(300), std::chrono::milliseconds(1000));
  EXPECT_TRUE(idle[2]->Closed()) << "the next longest idle stayed open";

  // Every slot busy reading a body: the newcomer is turned away instead.
  idle.clear();
  newcomer.reset();
  next.reset();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  std::vector<std::unique_ptr<TLoopbackClient>> busy;
  for (size_t i = 0; i < kMaxConnections; ++i) {
    busy.push_back(std::make_unique<TLoopbackClient>(port_));
    ASSERT_TRUE(busy.back()->Connected());
    busy.back()->Send(Head("EnumerateClassNames") + "Content-Length: 100\r\n\r\n");
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  auto refused = Exchange(Good());
  EXPECT_TRUE(refused->Statuses().empty());
  EXPECT_TRUE(refused->Closed());
  for (auto& client : busy) {
    client->Read(std::chrono::milliseconds(100), std::chrono::milliseconds(200));
    EXPECT_FALSE(client->Closed());
  }

  busy.clear();
  StopServer();
  const std::string log = access_.str();
  EXPECT_NE(log.find("closed: idle longest of 4 connections are open, for 127.0.0.1:"), std::string::npos) << log;
  EXPECT_NE(log.find("http=408"), std::string::npos) << log;
  EXPECT_NE(log.find("refused: 4 connections are open, none of them idle"), std::string::npos) << log;
}

}  // namespace
