#include "tools/linux_collector.h"

#include <dirent.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "include/cim_class.h"

namespace {

const TContext kNone;

std::string Trim(const std::string& text) {
  size_t start = text.find_first_not_of(" \t\n");
  if (start == std::string::npos) return std::string();
  size_t end = text.find_last_not_of(" \t\n");
  return text.substr(start, end - start + 1);
}

std::vector<std::string> Entries(const std::string& folder) {
  std::vector<std::string> names;
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

bool ToNumber(const std::string& text, unsigned long long* number) {
  if (text.empty() || text[0] == '-') return false;
  char* end = nullptr;
  *number = std::strtoull(text.c_str(), &end, 10);
  return end != text.c_str();
}

// "32K", "8M", "1024" (bytes) as a number of bytes.
unsigned long long CacheBytes(const std::string& size) {
  unsigned long long n = 0;
  if (!ToNumber(size, &n)) return 0;
  switch (size.back()) {
    case 'K': return n * 1024;
    case 'M': return n * 1024 * 1024;
    case 'G': return n * 1024 * 1024 * 1024;
    default: return n;
  }
}

}  // namespace

std::string TLinuxCollector::Read(const std::string& path) const {
  std::ifstream in(root_ + path);
  if (!in) return std::string();
  std::ostringstream text;
  text << in.rdbuf();
  return Trim(text.str());
}

boost::shared_ptr<ICIMInstance> TLinuxCollector::Add(
    ICIMNamespace& ns, const std::string& className,
    const std::vector<std::pair<std::string, TCIMValue>>& values) {
  boost::shared_ptr<ICIMInstance> instance =
      ns.GetClass(className, kNone)->AllocateInstance(kNone);
  for (const auto& value : values) instance->SetPropertyValue(value.first, value.second, kNone);
  instance->AddToNamespace(kNone);
  return instance;
}

boost::shared_ptr<ICIMInstance> TLinuxCollector::Collect(ICIMNamespace& ns) {
  components_.clear();
  std::string host = Read("/proc/sys/kernel/hostname");
  std::vector<std::pair<std::string, TCIMValue>> system = {
      {"Name", TCIMValue(host.empty() ? std::string("localhost") : host)}};
  std::string model = Read("/sys/class/dmi/id/product_name");
  if (!model.empty()) system.push_back({"Model", TCIMValue(model)});
  boost::shared_ptr<ICIMInstance> computer = Add(ns, "PELXA_ComputerSystem", system);
  CollectProcessors(ns);
  CollectMemory(ns);
  CollectDisks(ns);
  CollectNetwork(ns);
  CollectOperatingSystem(ns);
  TCIMValue group(computer->GetReference(kNone));
  for (const auto& part : components_) {
    Add(ns, "PELXA_SystemComponent",
        {{"GroupComponent", group}, {"PartComponent", TCIMValue(part->GetReference(kNone))}});
  }
  return computer;
}

void TLinuxCollector::CollectProcessors(ICIMNamespace& ns) {
  std::istringstream cpuinfo(Read("/proc/cpuinfo") + "\n\n");
  std::map<std::string, std::string> fields;
  std::string line;
  while (std::getline(cpuinfo, line)) {
    size_t colon = line.find(':');
    if (colon != std::string::npos) {
      fields[Trim(line.substr(0, colon))] = Trim(line.substr(colon + 1));
      continue;
    }
    if (fields.count("processor") == 0) continue;
    std::string id = fields["processor"];
    std::string cpu = "/sys/devices/system/cpu/cpu" + id;
    bool online = Read(cpu + "/online") != "0";
    std::vector<std::pair<std::string, TCIMValue>> values = {
        {"DeviceID", TCIMValue("CPU" + id)},
        {"CPUStatus", TCIMValue(static_cast<unsigned short>(online ? 1 : 2))}};
    if (fields.count("model name")) values.push_back({"Name", TCIMValue(fields["model name"])});
    unsigned long long number = 0;
    if (ToNumber(fields["cpu MHz"], &number)) {
      values.push_back({"CurrentClockSpeed", TCIMValue(static_cast<unsigned int>(number))});
    }
    if (ToNumber(fields["cpu cores"], &number)) {
      values.push_back({"NumberOfCores", TCIMValue(static_cast<unsigned short>(number))});
    }
    for (const std::string& index : Entries(root_ + cpu + "/cache")) {
      std::string folder = cpu + "/cache/" + index;
      std::string level = Read(folder + "/level");
      if (Read(folder + "/type") == "Instruction" || level.empty()) continue;
      values.push_back({"L" + level + "CacheSize", TCIMValue(CacheBytes(Read(folder + "/size")))});
      int& state = level == "1" ? caches_.level1 : level == "2" ? caches_.level2 : caches_.level3;
      state = 1;  // the machine reports the cache, so it is in use
    }
    components_.push_back(Add(ns, "PELXA_Processor", values));
    fields.clear();
  }
}

void TLinuxCollector::CollectMemory(ICIMNamespace& ns) {
  std::istringstream meminfo(Read("/proc/meminfo"));
  std::vector<std::pair<std::string, TCIMValue>> values = {{"DeviceID", TCIMValue("Memory")}};
  std::string key, unit;
  unsigned long long kilobytes = 0;
  while (meminfo >> key >> kilobytes >> unit) {
    if (key == "MemTotal:") values.push_back({"TotalSize", TCIMValue(kilobytes)});
    if (key == "MemAvailable:") values.push_back({"AvailableSize", TCIMValue(kilobytes)});
  }
  if (values.size() > 1) components_.push_back(Add(ns, "PELXA_Memory", values));
}

void TLinuxCollector::CollectDisks(ICIMNamespace& ns) {
  for (const std::string& device : Entries(root_ + "/sys/block")) {
    if (device.compare(0, 4, "loop") == 0 || device.compare(0, 3, "ram") == 0) continue;
    std::string folder = "/sys/block/" + device;
    std::vector<std::pair<std::string, TCIMValue>> values = {{"DeviceID", TCIMValue(device)}};
    unsigned long long sectors = 0;
    if (ToNumber(Read(folder + "/size"), &sectors)) {
      values.push_back({"Size", TCIMValue(sectors * 512)});  // sysfs counts 512-byte sectors
    }
    std::string rotational = Read(folder + "/queue/rotational");
    unsigned short media = rotational == "1" ? 2 : rotational == "0" ? 1 : 0;
    values.push_back({"MediaType", TCIMValue(media)});
    std::string model = Read(folder + "/device/model");
    if (!model.empty()) values.push_back({"Model", TCIMValue(model)});
    components_.push_back(Add(ns, "PELXA_DiskDrive", values));
  }
}

void TLinuxCollector::CollectNetwork(ICIMNamespace& ns) {
  for (const std::string& port : Entries(root_ + "/sys/class/net")) {
    std::string folder = "/sys/class/net/" + port;
    std::vector<std::pair<std::string, TCIMValue>> values = {{"DeviceID", TCIMValue(port)}};
    std::string type = Read(folder + "/type");
    bool wireless = !Read(folder + "/phy80211/name").empty() ||
                    !Entries(root_ + folder + "/wireless").empty();
    unsigned short portType = type == "772" ? 2 : wireless ? 3 : type == "1" ? 1 : type.empty() ? 0 : 4;
    values.push_back({"PortType", TCIMValue(portType)});
    unsigned long long megabits = 0;
    if (ToNumber(Read(folder + "/speed"), &megabits)) {
      values.push_back({"Speed", TCIMValue(megabits * 1000000)});
    }
    std::string duplex = Read(folder + "/duplex");
    if (!duplex.empty()) values.push_back({"speedDuplex", TCIMValue(duplex)});
    std::string address = Read(folder + "/address");
    if (!address.empty()) values.push_back({"PermanentAddress", TCIMValue(address)});
    std::string state = Read(folder + "/operstate");
    values.push_back({"OperatingStatus",
                      TCIMValue(static_cast<unsigned short>(state == "up" ? 2 : state == "down" ? 3 : 0))});
    components_.push_back(Add(ns, "PELXA_PhysicalNetworkPort", values));
  }
}

void TLinuxCollector::CollectOperatingSystem(ICIMNamespace& ns) {
  std::string name = Read("/proc/sys/kernel/ostype");
  std::vector<std::pair<std::string, TCIMValue>> values = {
      {"Name", TCIMValue(name.empty() ? std::string("Linux") : name)}};
  std::string release = Read("/proc/sys/kernel/osrelease");
  if (!release.empty()) values.push_back({"Version", TCIMValue(release)});
  unsigned long long uptime = 0;
  if (ToNumber(Read("/proc/uptime"), &uptime)) {
    values.push_back({"Uptime", TCIMValue(uptime)});
    time_t boot = time(nullptr) - static_cast<time_t>(uptime);
    struct tm local;
    localtime_r(&boot, &local);
    values.push_back({"LastBootUpTime",
                      TCIMValue(TCIMDateTime::Timestamp(
                          static_cast<unsigned>(local.tm_year + 1900), static_cast<unsigned>(local.tm_mon + 1),
                          static_cast<unsigned>(local.tm_mday), static_cast<unsigned>(local.tm_hour),
                          static_cast<unsigned>(local.tm_min), static_cast<unsigned>(std::min(local.tm_sec, 59)), 0,
                          static_cast<int>(local.tm_gmtoff / 60)))});
  }
  components_.push_back(Add(ns, "PELXA_OperatingSystem", values));
}
