// A short tour of the core library: values and their text, datetimes, object
// paths, status codes. It is what `make run` shows until the repository
// plug-in and the inventory job arrive.

#include <iostream>
#include <sstream>

#include "core/cim_reference.h"
#include "core/os_specific.h"
#include "core/tyl_exception.h"

namespace {

void ShowValue(const char* label, const TCIMValue& value, unsigned char base = 10) {
  std::ostringstream type;
  type << value.GetType();
  std::cout << "  " << label << ": " << type.str() << " " << value.ToString(base) << "\n";
}

}  // namespace

int main() {
  std::cout << "Values\n";
  ShowValue("port speed", TCIMValue(static_cast<unsigned long long>(1000000000)));
  ShowValue("flags in base 2", TCIMValue(static_cast<unsigned short>(0x2d)), 2);
  ShowValue("temperature", TCIMValue(-12.5));
  ShowValue("name", TCIMValue("eth0"));
  ShowValue("caches", TCIMValue(kCIMTypeBoolean, {TCIMValue(true), TCIMValue(false)}));

  std::cout << "Datetimes\n";
  TCIMDateTime uptime;
  uptime.Set(3, 4, 5, 6, 0);
  std::cout << "  uptime " << uptime.ToString() << " = " << uptime.ToUIString() << "\n";
  TCIMDateTime now = TOSSpecific::GetLocalTime();
  std::cout << "  now    " << now.ToString() << " = " << now.ToUIString() << "\n";

  std::cout << "Object paths\n";
  TCIMReference port;
  port.SetClassName("PELXA_EthernetPort");
  port.SetNameSpaceName("NOKRTYL20");
  port.AddKeyValue("SystemName", TCIMValue("host \"one\""));
  port.AddKeyValue("DeviceID", TCIMValue("eth0"));
  std::cout << "  " << port.GetPath() << "\n";
  TCIMReference reread = TCIMReference::Parse(port.GetPath(), {});
  std::cout << "  read back: " << (reread == port ? "same path" : "DIFFERENT") << "\n";

  std::cout << "Status codes\n";
  try {
    static_cast<unsigned char>(TCIMValue(static_cast<unsigned short>(300)));
  } catch (const TTYLException& e) {
    std::cout << "  uint16 300 read as uint8: " << e.GetStatus().GetStatusName() << " ("
              << e.GetStatusCode() << "): " << e.what() << "\n";
  }
  return 0;
}
