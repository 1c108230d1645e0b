// The collector on a fixture /proc and /sys tree, and the inventory printed
// from what it filled.

#include "tools/linux_collector.h"

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

class LinuxCollectorTest : public testing::Test {
 protected:
  void SetUp() override {
    TMofLoader loader(ns_);
    ASSERT_TRUE(loader.LoadFile(INMEM_INVENTORY_SCHEMA));
    system_ = collector_.Collect(*ns_);
  }

  std::string Display(const std::string& path, const char* property) {
    auto instance = ns_->GetInstance(TCIMReference::Parse(path, ns_), kNone);
    EXPECT_TRUE(instance) << path;
    return instance ? instance->GetProperty(property, kNone)->GetDisplayValue() : "";
  }

  TCapturingLogger quiet_;
  boost::shared_ptr<ICIMNamespace> ns_ = NewProviderNamespace();
  TLinuxCollector collector_{INMEM_FIXTURE_ROOT};
  boost::shared_ptr<ICIMInstance> system_;
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
  int parts = 0;
  system_->EnumerateAssociatedInstances([&](boost::shared_ptr<ICIMInstance>) { return ++parts > 0; },
                                        "PELXA_SystemComponent", "", "", "", kNone);
  EXPECT_EQ(parts, 7);  // 2 processors, memory, 1 disk, 2 ports, the system software
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

}  // namespace
