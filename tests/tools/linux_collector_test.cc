// The collector on fixture /proc and /sys trees (one as a machine writes
// it, one with what a broken or hostile machine may write), and the
// inventory printed from what it filled.

#include "tools/linux_collector.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "include/cim_property.h"
#include "mof/mof_loader.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"
#include "tools/repository_commands.h"

namespace {

const TContext kNone;

class CollectorTest : public testing::Test {
 protected:
  explicit CollectorTest(const std::string& root) : collector_(root) {}

  void SetUp() override {
    TMofLoader loader(ns_);
    ASSERT_TRUE(loader.LoadFile(INMEM_INVENTORY_SCHEMA));
    system_ = collector_.Collect(*ns_);
  }

  // The display text of a property; "null" for a null set by the collector,
  // "unset" for a property it left alone.
  std::string Display(const std::string& path, const char* name) {
    auto instance = ns_->GetInstance(TCIMReference::Parse(path, ns_), kNone);
    EXPECT_TRUE(instance) << path;
    if (!instance) return "";
    auto property = instance->GetProperty(name, kNone);
    if (property->UsesDefaultValue(kNone)) return "unset";
    return property->GetValue(kNone).IsNull() ? "null" : property->GetDisplayValue();
  }

  int Parts() {
    int parts = 0;
    system_->EnumerateAssociatedInstances([&](boost::shared_ptr<ICIMInstance>) { return ++parts > 0; },
                                          "PELXA_SystemComponent", "", "", "", kNone);
    return parts;
  }

  TCapturingLogger quiet_;
  boost::shared_ptr<ICIMNamespace> ns_ = NewProviderNamespace();
  TLinuxCollector collector_;
  boost::shared_ptr<ICIMInstance> system_;
};

class LinuxCollectorTest : public CollectorTest {
 protected:
  LinuxCollectorTest() : CollectorTest(INMEM_FIXTURE_ROOT) {}
};

class HostileMachineTest : public CollectorTest {
 protected:
  HostileMachineTest() : CollectorTest(INMEM_HOSTILE_ROOT) {}
};

TEST_F(LinuxCollectorTest, WhatTheMachineReportsBecomesInstances) {
  EXPECT_EQ(system_->GetReference(kNone).GetPath(), "pelxa_computersystem.name=\"fixture-host\"");
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"PELXA_DiskDrive.DeviceID=\"sda\"", "Size", "931.5 Gigabytes"},
      {"PELXA_DiskDrive.DeviceID=\"sda\"", "MediaType", "Rotating"},
      {"PELXA_Memory.DeviceID=\"Memory\"", "TotalSize", "15.6 Gigabytes"},
      {"PELXA_PhysicalNetworkPort.DeviceID=\"eth0\"", "Speed", "1000 Mbps"},
      {"PELXA_PhysicalNetworkPort.DeviceID=\"eth0\"", "speedDuplex", "full"},
      {"PELXA_PhysicalNetworkPort.DeviceID=\"lo\"", "PortType", "Loopback"},
      {"PELXA_OperatingSystem.Name=\"Linux\"", "Uptime", "1 day, 1 hour, 1 minute, 1 second"},
      {"PELXA_Processor.DeviceID=\"CPU0\"", "L1CacheSize", "48 Kilobytes"},  // data cache only
      {"PELXA_Processor.DeviceID=\"CPU1\"", "CPUStatus", "CPU Disabled by User"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Display(std::get<0>(row), std::get<1>(row)), std::get<2>(row)) << std::get<0>(row);
  }
  EXPECT_FALSE(ns_->GetInstance(TCIMReference::Parse("PELXA_DiskDrive.DeviceID=\"loop0\"", ns_), kNone));
  EXPECT_EQ(Parts(), 7);  // 2 processors, memory, 1 disk, 2 ports, the system software
  EXPECT_TRUE(collector_.Notes().empty()) << collector_.Notes().front();
}

TEST_F(LinuxCollectorTest, ReportedCachesSetTheCacheStates) {
  const TCacheStates& states = collector_.CacheStates();
  EXPECT_EQ(states.level1, 1);
  EXPECT_EQ(states.level2, 1);
  EXPECT_EQ(states.level3, -1);  // not reported: unknown
}

TEST_F(LinuxCollectorTest, TheInventoryShowsTheSystemAndItsParts) {
  std::ostringstream out, err;
  TRepositoryCommands commands(ns_, false, out, err);
  EXPECT_EQ(commands.Inventory(system_->GetReference(kNone).GetPath()), kExitOk);
  std::string text = out.str();
  EXPECT_EQ(text.rfind("PELXA_ComputerSystem pelxa_computersystem.name=\"fixture-host\"\n", 0), 0u)
      << text;
  for (const char* line : {"\nPELXA_DiskDrive pelxa_diskdrive.deviceid=\"sda\"\n",
                           "    Speed = 1000 Mbps\n", "    Model = WDC WD10EZEX\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(text.find("Caption"), std::string::npos);  // unset properties are left out
  EXPECT_EQ(err.str(), "");
}

// Numbers that are no numbers, or do not fit, become nulls, never a guess;
// stray bytes become U+FFFD; what the schema cannot hold is left out with a
// note, and the rest of the machine is still there.
TEST_F(HostileMachineTest, UnreadableDetailsAreNullOrLeftOutNeverGuessed) {
  EXPECT_EQ(system_->GetProperty("Name", kNone)->GetDisplayValue(), "host\xEF\xBF\xBDname");
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"PELXA_Processor.DeviceID=\"CPU0\"", "Name", "Odd CPU\xEF\xBF\xBD"},
      {"PELXA_Processor.DeviceID=\"CPU0\"", "CurrentClockSpeed", "null"},  // 1.5e3
      {"PELXA_Processor.DeviceID=\"CPU0\"", "NumberOfCores", "null"},      // 23 digits
      {"PELXA_Processor.DeviceID=\"CPU0\"", "L4CacheSize", "8 Megabytes"},
      {"PELXA_Processor.DeviceID=\"CPU0\"", "L2CacheSize", "null"},  // "lots"
      {"PELXA_Processor.DeviceID=\"CPU1\"", "CurrentClockSpeed", "null"},
      {"PELXA_Processor.DeviceID=\"CPU1\"", "NumberOfCores", "null"},  // 65536 > uint16
      {"PELXA_Processor.DeviceID=\"CPU1\"", "L1CacheSize", "null"},    // 2^54 K overflows
      {"PELXA_Memory.DeviceID=\"Memory\"", "TotalSize", "null"},
      {"PELXA_Memory.DeviceID=\"Memory\"", "AvailableSize", "null"},   // 2^64
      {"PELXA_DiskDrive.DeviceID=\"sdb\"", "Size", "null"},            // sectors * 512 overflows
      {"PELXA_DiskDrive.DeviceID=\"sdb\"", "Model", "Model\xEF\xBF\xBD"},
      {"PELXA_DiskDrive.DeviceID=\"sdb\"", "MediaType", "Unknown"},
      {"PELXA_PhysicalNetworkPort.DeviceID=\"eth9\"", "Speed", "null"},  // -1
      {"PELXA_PhysicalNetworkPort.DeviceID=\"wan0\"", "Speed", "null"},  // * 10^6 overflows
      {"PELXA_PhysicalNetworkPort.DeviceID=\"wan0\"", "PortType", "Unknown"},
      {"PELXA_PhysicalNetworkPort.DeviceID=\"wan0\"", "PermanentAddress", "unset"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Display(std::get<0>(row), std::get<1>(row)), std::get<2>(row))
        << std::get<0>(row) << " " << std::get<1>(row);
  }
  EXPECT_EQ(Parts(), 6);  // no operating system: it has no name to be filed under
  std::string notes;
  for (const std::string& note : collector_.Notes()) notes += note + "\n";
  for (const char* note :
       {"PELXA_Processor CPU0: L5CacheSize left out: the schema has no such property\n",
        "cache /sys/devices/system/cpu/cpu0/cache/index3 left out: its level 'x' cannot be read\n",
        "processor 'x' left out: its number cannot be read\n",
        "operating system left out: no name in "}) {
    EXPECT_NE(notes.find(note), std::string::npos) << note << " not in\n" << notes;
  }
  // Caches of levels 4 and 5, and of no readable level, change no state.
  const TCacheStates& states = collector_.CacheStates();
  EXPECT_EQ(std::make_tuple(states.level1, states.level2, states.level3), std::make_tuple(1, 1, -1));
}

// A copied tree with pipes where /proc and /sys have files. A pipe without
// a writer would block a read for ever: it counts as a file that cannot be
// read, and the rest of the machine is inventoried.
class PipedMachineTest : public CollectorTest {
 protected:
  PipedMachineTest() : CollectorTest(PipedTree()) {}
  ~PipedMachineTest() override { std::filesystem::remove_all(Root()); }

  static std::string Root() { return testing::TempDir() + "piped-machine"; }
  static std::string PipedTree() {
    std::filesystem::remove_all(Root());
    std::filesystem::create_directories(Root() + "/proc/sys/kernel");
    std::filesystem::create_directories(Root() + "/sys/block/sda");
    std::ofstream(Root() + "/proc/sys/kernel/hostname") << "piped\n";
    std::ofstream(Root() + "/proc/sys/kernel/ostype") << "Linux\n";
    for (const char* pipe : {"/proc/uptime", "/proc/meminfo", "/sys/block/sda/size"}) {
      EXPECT_EQ(mkfifo((Root() + pipe).c_str(), 0600), 0) << pipe;
    }
    return Root();
  }
};

TEST_F(PipedMachineTest, PipesAreNotRead) {
  EXPECT_EQ(Display("PELXA_OperatingSystem.Name=\"Linux\"", "Uptime"), "null");
  EXPECT_EQ(Display("PELXA_DiskDrive.DeviceID=\"sda\"", "Size"), "null");
  EXPECT_EQ(Parts(), 2);  // the disk and the system software
}

TEST(CollectorFailureTest, AMachineWithoutAHostNameIsNotInventoried) {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TMofLoader loader(ns);
  ASSERT_TRUE(loader.LoadFile(INMEM_INVENTORY_SCHEMA));
  TLinuxCollector collector(INMEM_FIXTURE_ROOT "/sys");  // has no /proc
  EXPECT_THROW(collector.Collect(*ns), TCollectError);
  int instances = 0;
  ns->GetClass("PELXA_ManagedElement", kNone)
      ->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++instances > 0; }, true, kNone);
  EXPECT_EQ(instances, 0);
}

}  // namespace
