// Requests answered on several threads at once, through the real server on
// loopback: readers look up, enumerate, walk, query and pull while a writer
// creates, links, changes and deletes disks, and now and then adds a class
// (which builds the namespace again). Every answer must be right whatever
// ran beside it, and the access log must hold one whole line per request.
// Built with ThreadSanitizer (make tsan), the same run shows that nothing
// is shared without its lock. And the lock lets a waiting write go first.

#include <atomic>
#include <chrono>
#include <functional>
#include <shared_mutex>
#include <sstream>
#include <thread>
#include <vector>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <gtest/gtest.h>

#include "tests/server/running_server.h"
#include "tests/server/server_fixture.h"

namespace {

namespace http = boost::beast::http;
using tcp = boost::asio::ip::tcp;

const int kReaders = 3;
const int kReadsEach = 400;
const int kWriteRounds = 100;

// One keep-alive connection that sends CIM operations and reads whole
// answers (chunked ones too).
class TCimConnection {
 public:
  explicit TCimConnection(unsigned short port) : socket_(io_) {
    socket_.connect(tcp::endpoint(boost::asio::ip::make_address("127.0.0.1"), port));
  }

  // The answer's body; *status its HTTP status.
  std::string Call(const std::string& method, const std::string& parameters, unsigned* status) {
    THttpRequest request = CimPost(method, Envelope(method, parameters));
    request.set(http::field::host, "127.0.0.1");
    http::write(socket_, request);
    http::response<http::string_body> response;
    http::read(socket_, buffer_, response);
    *status = response.result_int();
    return response.body();
  }

 private:
  boost::asio::io_context io_;
  tcp::socket socket_;
  boost::beast::flat_buffer buffer_;
};

std::string Disk(int n) {
  return "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\"><KEYVALUE>w" + std::to_string(n) +
         "</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">" +
         std::to_string(100 + n) + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
}

std::string DiskInstance(int n, const std::string& caption) {
  return "<INSTANCE CLASSNAME=\"Test_Disk\"><PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>w" + std::to_string(n) +
         "</VALUE></PROPERTY><PROPERTY NAME=\"Slot\" TYPE=\"uint16\"><VALUE>" + std::to_string(100 + n) +
         "</VALUE></PROPERTY><PROPERTY NAME=\"Caption\" TYPE=\"string\"><VALUE>" + caption +
         "</VALUE></PROPERTY></INSTANCE>";
}

std::string Link(int n) {
  return "<INSTANCE CLASSNAME=\"Test_SystemDisk\"><PROPERTY.REFERENCE NAME=\"System\"><VALUE.REFERENCE>" + kAlpha +
         "</VALUE.REFERENCE></PROPERTY.REFERENCE><PROPERTY.REFERENCE NAME=\"Disk\"><VALUE.REFERENCE>" + Disk(n) +
         "</VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>";
}

// A read and what its answer must hold, whatever the writer is doing: the
// fixture's own instances, which the writer leaves alone.
struct TRead {
  const char* method;
  std::string parameters;
  std::vector<std::string> holds;
};

class ConcurrentRequestsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    served_.Serve(false);
    operations_ = std::make_unique<TCimOperations>(*served_.namespaces, OperationsConfig());
    TWbemServerConfig config;
    config.listen = {TListenAddress{"127.0.0.1", 0, false}};
    config.threads = 4;
    server_ = std::make_unique<TRunningServer>(*operations_, config, access_);
    port_ = server_->Port();
  }

  int Count(const char* className) {
    int count = 0;
    served_.Repository("root/cimv2").GetClass(className, TContext())->EnumerateInstances(
        [&count](boost::shared_ptr<ICIMInstance>) {
          ++count;
          return true;
        },
        false, TContext());
    return count;
  }

  TCimOperationsConfig OperationsConfig() {
    TCimOperationsConfig config;
    config.interop = served_.interop.get();
    return config;
  }

  TServedWithInterop served_;
  std::unique_ptr<TCimOperations> operations_;
  std::ostringstream access_;
  std::unique_ptr<TRunningServer> server_;
  unsigned short port_ = 0;
};

TEST_F(ConcurrentRequestsTest, ReadsBesideWritesAnswerRightAndEveryRequestIsLogged) {
  const std::string element = Param("ClassName", ClassName("Test_Disk"));
  const std::vector<TRead> reads = {
      {"GetInstance", Param("InstanceName", kSda), {"<VALUE>sda</VALUE>"}},
      {"EnumerateInstances", element, {"<VALUE>sda</VALUE>", "<VALUE>sdb</VALUE>"}},
      {"EnumerateInstanceNames", Param("ClassName", ClassName("Test_SystemDisk")), {">sdb</KEYVALUE>"}},
      {"Associators", Param("ObjectName", kAlpha), {"<VALUE>sda</VALUE>", "<VALUE>sdb</VALUE>"}},
      {"References", Param("ObjectName", kSda), {"CLASSNAME=\"Test_SystemDisk\""}},
      {"ExecQuery",
       Param("QueryLanguage", Value("DMTF:CQL")) + Param("Query", Value("SELECT * FROM Test_Disk WHERE Kind = 3")),
       {"<VALUE>sdb</VALUE>"}},
      {"GetClass", Param("ClassName", ClassName("Test_Disk")), {"<CLASS NAME=\"Test_Disk\""}},
      {"GetProperty", Param("InstanceName", kSda) + Param("PropertyName", Value("Kind")), {"<VALUE>2</VALUE>"}},
  };

  std::atomic<int> wrong{0};
  std::atomic<int> requests{0};
  std::vector<std::string> complaints(kReaders + 1);
  auto note = [&](int who, const std::string& what) {
    if (wrong++ < 20) complaints[who] += what.substr(0, 2000) + "\n";
  };

  std::vector<std::thread> clients;
  for (int r = 0; r < kReaders; ++r) {
    clients.emplace_back([&, r] {
      TCimConnection connection(port_);
      for (int i = 0; i < kReadsEach; ++i) {
        unsigned status = 0;
        const TRead& read = reads[(i + r) % reads.size()];
        const std::string answer = connection.Call(read.method, read.parameters, &status);
        ++requests;
        bool right = status == 200 && CimCodeOf(answer) == 0;
        for (const std::string& part : read.holds) right = right && answer.find(part) != std::string::npos;
        if (!right) note(r, std::string(read.method) + " answered " + std::to_string(status) + ": " + answer);
        // A pull run to its end, across the writer's deletes.
        if (i % 10 != 0) continue;
        std::string page = connection.Call(
            "OpenEnumerateInstances", element + Param("MaxObjectCount", Value("1")), &status);
        ++requests;
        for (int pulls = 0; ParamValue(page, "EndOfSequence") == "FALSE" && pulls < 200; ++pulls) {
          page = connection.Call("PullInstancesWithPath",
                                 Param("EnumerationContext", Value(ParamValue(page, "EnumerationContext"))) +
                                     Param("MaxObjectCount", Value("1")),
                                 &status);
          ++requests;
        }
        if (status != 200 || CimCodeOf(page) != 0 || ParamValue(page, "EndOfSequence") != "TRUE") {
          note(r, "a pull did not end: " + page);
        }
      }
    });
  }
  clients.emplace_back([&] {
    TCimConnection connection(port_);
    auto write = [&](const char* method, const std::string& parameters) {
      unsigned status = 0;
      const std::string answer = connection.Call(method, parameters, &status);
      ++requests;
      if (status != 200 || CimCodeOf(answer) != 0) note(kReaders, std::string(method) + ": " + answer);
    };
    for (int n = 0; n < kWriteRounds; ++n) {
      write("CreateInstance", Param("NewInstance", DiskInstance(n, "new")));
      write("CreateInstance", Param("NewInstance", Link(n)));
      write("ModifyInstance", Param("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + Disk(n) +
                                                            DiskInstance(n, "changed") + "</VALUE.NAMEDINSTANCE>"));
      // Deleting the disk deletes its link too.
      write("DeleteInstance", Param("InstanceName", Disk(n)));
      if (n % 25 == 0) {
        write("CreateClass", Param("NewClass", "<CLASS NAME=\"Test_Extra" + std::to_string(n) +
                                                   "\" SUPERCLASS=\"Test_Disk\"></CLASS>"));
      }
    }
  });
  for (std::thread& client : clients) client.join();

  std::string all;
  for (const std::string& c : complaints) all += c;
  EXPECT_EQ(wrong.load(), 0) << all;
  // The writer's disks and links are all gone again.
  EXPECT_EQ(Count("Test_Disk"), 2);
  EXPECT_EQ(Count("Test_SystemDisk"), 2);
  EXPECT_EQ(operations_->OpenEnumerations(), 0u);

  // One whole line per request, none torn by another thread's.
  server_->Stop();
  std::istringstream lines(access_.str());
  int logged = 0;
  for (std::string line; std::getline(lines, line); ++logged) {
    EXPECT_EQ(line.rfind("inmem serve: 127.0.0.1:", 0), 0u) << line;
    EXPECT_NE(line.find(" http=200 cim=0 "), std::string::npos) << line;
  }
  EXPECT_EQ(logged, requests.load());
}

// Readers that keep coming cannot hold a write off: once a write waits,
// a new read waits behind it.
TEST(RepositoryLockTest, AWaitingWriteGoesBeforeLaterReads) {
  TRepositoryLock lock;
  std::shared_lock<TRepositoryLock> reading(lock);
  std::atomic<bool> wrote{false};
  std::thread writer([&] {
    std::unique_lock<TRepositoryLock> write(lock);
    wrote = true;
  });
  // The writer is waiting once a new read is refused.
  bool refused = false;
  for (int tries = 0; tries < 2000 && !refused; ++tries) {
    refused = !lock.try_lock_shared();
    if (!refused) {
      lock.unlock_shared();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  EXPECT_TRUE(refused) << "reads still got in while a write waited";
  EXPECT_FALSE(wrote.load());
  reading.unlock();
  writer.join();
  EXPECT_TRUE(wrote.load());
}

}  // namespace
