#include "tools/linux_collector.h"

#include <dirent.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

#include "core/log_capture.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "core/refusal_reason.h"
#include "tools/strict_number.h"
#include "core/utf8.h"

namespace {

const TContext kNone;

// The most of one file that is read. Real files are far smaller (the
// cpuinfo of a large machine is some hundred kilobytes); the bound keeps a
// copied tree with a device or an endless file in it from exhausting memory.
constexpr size_t kMaxFileBytes = 4 << 20;

std::string Trim(const std::string& text) {
  const char* const kBlanks = " \t\n\r\v\f";
  size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string::npos) return std::string();
  size_t end = text.find_last_not_of(kBlanks);
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

// An amount in /proc/meminfo: "16384000 kB", in kilobytes.
std::optional<uint64_t> ReadKilobytes(std::string_view text) {
  const std::string_view unit = " kB";
  if (text.size() <= unit.size() || text.substr(text.size() - unit.size()) != unit) {
    return std::nullopt;
  }
  return ReadDecimal(text.substr(0, text.size() - unit.size()));
}

// /proc/uptime: the seconds since boot, then the idle seconds.
std::optional<uint64_t> ReadUptime(std::string_view text) {
  return ReadWholePart(text.substr(0, text.find(' ')));
}

// Sets `name` when the machine reports it: the number `read` finds in the
// text, times `factor`, as a T; a null when the text holds no such number.
template <typename T>
void AddNumber(TLinuxCollector::TValues* values, const std::string& name,
               const std::optional<std::string>& text,
               std::optional<uint64_t> (*read)(std::string_view), uint64_t factor = 1) {
  if (text) values->emplace_back(name, UnsignedValue<T>(CheckedProduct(read(*text), factor)));
}

void AddText(TLinuxCollector::TValues* values, const char* name,
             const std::optional<std::string>& text) {
  if (text && !text->empty()) values->emplace_back(name, TCIMValue(*text));
}

// The local time `seconds` ago; a null when that is no time a datetime can
// hold (an uptime longer than the clock has run).
TCIMValue TimeAgo(std::optional<uint64_t> seconds) {
  const TCIMValue unknown = TCIMValue::Null(kCIMTypeDateTime);
  time_t now = time(nullptr);
  if (!seconds || *seconds > static_cast<uint64_t>(now)) return unknown;
  time_t then = now - static_cast<time_t>(*seconds);
  struct tm local;
  if (localtime_r(&then, &local) == nullptr) return unknown;
  try {
    return TCIMValue(TCIMDateTime::Timestamp(
        static_cast<unsigned>(local.tm_year + 1900), static_cast<unsigned>(local.tm_mon + 1),
        static_cast<unsigned>(local.tm_mday), static_cast<unsigned>(local.tm_hour),
        static_cast<unsigned>(local.tm_min), static_cast<unsigned>(std::min(local.tm_sec, 59)), 0,
        static_cast<int>(local.tm_gmtoff / 60)));
  } catch (const TTYLException&) {
    return unknown;
  }
}

// "PELXA_Processor CPU0": an instance named by its class and key.
std::string Label(const std::string& className, const TLinuxCollector::TValues& values) {
  return className + " " + Printable(values.front().second.ToString());
}

// Files such as /proc/cpuinfo and /proc/meminfo hold a field a line,
// "name: value"; adds the field of `line` and says whether it had one.
bool AddField(const std::string& line, std::map<std::string, std::string>* fields) {
  size_t colon = line.find(':');
  if (colon == std::string::npos) return false;
  (*fields)[Trim(line.substr(0, colon))] = Trim(line.substr(colon + 1));
  return true;
}

std::optional<std::string> Field(const std::map<std::string, std::string>& fields,
                                 const std::string& name) {
  auto it = fields.find(name);
  if (it == fields.end()) return std::nullopt;
  return it->second;
}

}  // namespace

std::optional<std::string> TLinuxCollector::Read(const std::string& path) const {
  struct stat status;
  if (stat((root_ + path).c_str(), &status) != 0) return std::nullopt;
  // A pipe where a copied tree had a file would block the read for ever;
  // anything but a regular file is there but cannot be read.
  if (!S_ISREG(status.st_mode)) return std::string();
  std::ifstream in(root_ + path, std::ios::binary);
  if (!in.is_open()) return std::nullopt;
  std::string text;
  char chunk[4096];
  while (text.size() < kMaxFileBytes && in.read(chunk, sizeof chunk).gcount() > 0) {
    text.append(chunk, static_cast<size_t>(in.gcount()));
  }
  return Trim(WithValidUtf8(text));
}

boost::shared_ptr<ICIMInstance> TLinuxCollector::Add(ICIMNamespace& ns,
                                                     const std::string& className,
                                                     const TValues& values, std::string* why) {
  boost::shared_ptr<ICIMInstance> instance;
  {
    TLogCapture capture;
    try {
      instance = ns.GetClass(className, kNone)->AllocateInstance(kNone);
    } catch (const TTYLException& e) {
      *why = e.GetStatusCode() == kStatusNotFound ? "the schema has no such class"
                                                  : RefusalReason(capture, e);
      return instance;
    }
  }
  for (const auto& value : values) {
    TLogCapture capture;
    try {
      instance->SetPropertyValue(value.first, value.second, kNone);
    } catch (const TTYLException& e) {
      Note(Label(className, values) + ": " + value.first + " left out: " +
           (e.GetStatusCode() == kStatusNotFound ? std::string("the schema has no such property")
                                                 : RefusalReason(capture, e)));
    }
  }
  TLogCapture capture;
  try {
    instance->AddToNamespace(kNone);
  } catch (const TTYLException& e) {
    *why = RefusalReason(capture, e);
    return boost::shared_ptr<ICIMInstance>();
  }
  return instance;
}

void TLinuxCollector::AddComponent(ICIMNamespace& ns, const std::string& className,
                                   const TValues& values) {
  std::string why;
  boost::shared_ptr<ICIMInstance> part = Add(ns, className, values, &why);
  if (part) {
    components_.push_back(part);
  } else {
    Note(Label(className, values) + " left out: " + why);
  }
}

boost::shared_ptr<ICIMInstance> TLinuxCollector::Collect(ICIMNamespace& ns) {
  components_.clear();
  notes_.clear();
  caches_ = TCacheStates();
  const std::string hostFile = "/proc/sys/kernel/hostname";
  std::optional<std::string> host = Read(hostFile);
  if (!host || host->empty()) {
    throw TCollectError("cannot name the system: no host name in " + Printable(root_ + hostFile));
  }
  TValues system = {{"Name", TCIMValue(*host)}};
  AddText(&system, "Model", Read("/sys/class/dmi/id/product_name"));
  std::string why;
  boost::shared_ptr<ICIMInstance> computer = Add(ns, "PELXA_ComputerSystem", system, &why);
  if (!computer) throw TCollectError("cannot enter the system " + Printable(*host) + ": " + why);
  CollectProcessors(ns);
  CollectMemory(ns);
  CollectDisks(ns);
  CollectNetwork(ns);
  CollectOperatingSystem(ns);
  TCIMValue group(computer->GetReference(kNone));
  for (const auto& part : components_) {
    const TValues link = {{"GroupComponent", group},
                          {"PartComponent", TCIMValue(part->GetReference(kNone))}};
    if (!Add(ns, "PELXA_SystemComponent", link, &why)) {
      Note(Label("PELXA_SystemComponent", link) + " left out: " + why);
    }
  }
  return computer;
}

void TLinuxCollector::CollectProcessors(ICIMNamespace& ns) {
  std::istringstream cpuinfo(Read("/proc/cpuinfo").value_or("") + "\n\n");
  std::map<std::string, std::string> fields;
  std::string line;
  while (std::getline(cpuinfo, line)) {
    if (AddField(line, &fields)) continue;
    // A line without a field ends the fields of one processor.
    if (fields.count("processor") == 0) continue;
    std::optional<uint64_t> number = ReadDecimal(fields["processor"]);
    if (!number) {
      Note("processor '" + Printable(fields["processor"]) + "' left out: its number cannot be read");
      fields.clear();
      continue;
    }
    const std::string id = std::to_string(*number);
    const std::string cpu = "/sys/devices/system/cpu/cpu" + id;
    // cpu0 often has no "online" file: it cannot be taken offline.
    std::optional<std::string> online = Read(cpu + "/online");
    unsigned short status = !online || *online == "1" ? 1 : *online == "0" ? 2 : 0;
    TValues values = {{"DeviceID", TCIMValue("CPU" + id)}, {"CPUStatus", TCIMValue(status)}};
    AddText(&values, "Name", Field(fields, "model name"));
    AddNumber<unsigned int>(&values, "CurrentClockSpeed", Field(fields, "cpu MHz"), ReadWholePart);
    AddNumber<unsigned short>(&values, "NumberOfCores", Field(fields, "cpu cores"), ReadDecimal);
    CollectCaches(cpu, &values);
    AddComponent(ns, "PELXA_Processor", values);
    fields.clear();
  }
}

void TLinuxCollector::CollectCaches(const std::string& cpu, TValues* values) {
  for (const std::string& index : Entries(root_ + cpu + "/cache")) {
    const std::string folder = cpu + "/cache/" + index;
    std::optional<std::string> levelText = Read(folder + "/level");
    if (!levelText || Read(folder + "/type").value_or("") == "Instruction") continue;
    std::optional<uint64_t> level = ReadDecimal(*levelText);
    if (!level) {
      Note("cache " + folder + " left out: its level '" + Printable(*levelText) + "' cannot be read");
      continue;
    }
    AddNumber<unsigned long long>(values, "L" + std::to_string(*level) + "CacheSize",
                                  Read(folder + "/size"), ReadByteSize);
    // The machine reports the cache, so it is in use. The repository keeps
    // states for the first three levels only.
    switch (*level) {
      case 1: caches_.level1 = 1; break;
      case 2: caches_.level2 = 1; break;
      case 3: caches_.level3 = 1; break;
      default: break;
    }
  }
}

void TLinuxCollector::CollectMemory(ICIMNamespace& ns) {
  std::istringstream meminfo(Read("/proc/meminfo").value_or(""));
  std::map<std::string, std::string> fields;
  std::string line;
  while (std::getline(meminfo, line)) AddField(line, &fields);
  TValues values = {{"DeviceID", TCIMValue("Memory")}};
  AddNumber<unsigned long long>(&values, "TotalSize", Field(fields, "MemTotal"), ReadKilobytes);
  AddNumber<unsigned long long>(&values, "AvailableSize", Field(fields, "MemAvailable"),
                                ReadKilobytes);
  if (values.size() > 1) AddComponent(ns, "PELXA_Memory", values);
}

void TLinuxCollector::CollectDisks(ICIMNamespace& ns) {
  for (const std::string& device : Entries(root_ + "/sys/block")) {
    if (device.compare(0, 4, "loop") == 0 || device.compare(0, 3, "ram") == 0) continue;
    const std::string folder = "/sys/block/" + device;
    TValues values = {{"DeviceID", TCIMValue(WithValidUtf8(device))}};
    // sysfs counts 512-byte sectors.
    AddNumber<unsigned long long>(&values, "Size", Read(folder + "/size"), ReadDecimal, 512);
    std::string rotational = Read(folder + "/queue/rotational").value_or("");
    unsigned short media = rotational == "1" ? 2 : rotational == "0" ? 1 : 0;
    values.emplace_back("MediaType", TCIMValue(media));
    AddText(&values, "Model", Read(folder + "/device/model"));
    AddComponent(ns, "PELXA_DiskDrive", values);
  }
}

void TLinuxCollector::CollectNetwork(ICIMNamespace& ns) {
  for (const std::string& port : Entries(root_ + "/sys/class/net")) {
    const std::string folder = "/sys/class/net/" + port;
    TValues values = {{"DeviceID", TCIMValue(WithValidUtf8(port))}};
    std::optional<uint64_t> type = ReadDecimal(Read(folder + "/type").value_or(""));
    bool wireless = !Read(folder + "/phy80211/name").value_or("").empty() ||
                    !Entries(root_ + folder + "/wireless").empty();
    unsigned short portType = !type ? 0 : *type == 772 ? 2 : wireless ? 3 : *type == 1 ? 1 : 4;
    values.emplace_back("PortType", TCIMValue(portType));
    AddNumber<unsigned long long>(&values, "Speed", Read(folder + "/speed"), ReadDecimal, 1000000);
    AddText(&values, "speedDuplex", Read(folder + "/duplex"));
    AddText(&values, "PermanentAddress", Read(folder + "/address"));
    std::string state = Read(folder + "/operstate").value_or("");
    values.emplace_back("OperatingStatus", TCIMValue(static_cast<unsigned short>(
                                               state == "up" ? 2 : state == "down" ? 3 : 0)));
    AddComponent(ns, "PELXA_PhysicalNetworkPort", values);
  }
}

void TLinuxCollector::CollectOperatingSystem(ICIMNamespace& ns) {
  std::optional<std::string> name = Read("/proc/sys/kernel/ostype");
  if (!name || name->empty()) {
    Note("operating system left out: no name in " + Printable(root_ + "/proc/sys/kernel/ostype"));
    return;
  }
  TValues values = {{"Name", TCIMValue(*name)}};
  AddText(&values, "Version", Read("/proc/sys/kernel/osrelease"));
  std::optional<std::string> uptime = Read("/proc/uptime");
  if (uptime) {
    std::optional<uint64_t> seconds = ReadUptime(*uptime);
    values.emplace_back("Uptime", UnsignedValue<unsigned long long>(seconds));
    values.emplace_back("LastBootUpTime", TimeAgo(seconds));
  }
  AddComponent(ns, "PELXA_OperatingSystem", values);
}
