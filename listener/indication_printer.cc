// PrintIndication: the text and JSON forms.

#include "listener/indication_printer.h"

#include <cstdint>
#include <ctime>

#include "core/ascii.h"
#include "core/printable_text.h"
#include "display/json_text.h"

namespace {

// "2025-01-02T03:04:05.678Z".
std::string UtcTime(std::chrono::system_clock::time_point when) {
  const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count();
  const std::time_t seconds = static_cast<std::time_t>(millis / 1000);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  char withMillis[48];
  std::snprintf(withMillis, sizeof withMillis, "%s.%03dZ", text, static_cast<int>(millis % 1000));
  return withMillis;
}

// Text from the sender on one line, whole.
std::string Line(const std::string& text) { return Printable(text, SIZE_MAX); }

void PrintProperties(const std::vector<TShownProperty>& properties, const char* indent, std::ostream& out) {
  for (const TShownProperty& p : properties) {
    out << indent << Line(p.name) << " = " << Line(p.text);
    if (p.previous) out << " (was " << Line(p.previousText) << ")";
    out << "\n";
  }
}

void PrintPropertiesJson(const std::vector<TShownProperty>& properties, std::ostream& out) {
  out << "{";
  for (size_t i = 0; i < properties.size(); ++i) {
    const TShownProperty& p = properties[i];
    out << (i ? "," : "") << JsonString(p.name) << ":{\"value\":" << JsonValue(p.value) << ",\"display\":" << p.json;
    if (p.previous) out << ",\"previous\":" << p.previousJson;
    out << "}";
  }
  out << "}";
}

std::string PathJson(const std::string& path) { return path.empty() ? "null" : JsonString(path); }

void PrintInstanceJson(const TShownInstance& instance, std::ostream& out) {
  out << "{\"class\":" << JsonString(instance.className) << ",\"path\":" << PathJson(instance.path)
      << ",\"properties\":";
  PrintPropertiesJson(instance.properties, out);
  out << "}";
}

}  // namespace

void PrintIndication(const TReceivedIndication& indication, bool json, std::ostream& out) {
  if (json) {
    out << "{\"received\":" << JsonString(UtcTime(indication.received))
        << ",\"class\":" << JsonString(indication.indication.className)
        << ",\"path\":" << PathJson(indication.sourcePath) << ",\"properties\":";
    PrintPropertiesJson(indication.indication.properties, out);
    if (indication.source) {
      out << ",\"sourceInstance\":";
      PrintInstanceJson(*indication.source, out);
    }
    if (indication.previous) {
      out << ",\"previousInstance\":";
      PrintInstanceJson(*indication.previous, out);
    }
    out << "}\n" << std::flush;
    return;
  }
  out << UtcTime(indication.received) << " " << Line(indication.indication.className);
  if (!indication.sourcePath.empty()) out << " " << Line(indication.sourcePath);
  out << "\n";
  PrintProperties(indication.indication.properties, "    ", out);
  const TShownInstance* shown = indication.source ? &*indication.source
                                : indication.previous ? &*indication.previous
                                                      : nullptr;
  if (shown != nullptr) {
    out << "    " << (indication.source ? "SourceInstance " : "PreviousInstance ") << Line(shown->className) << "\n";
    PrintProperties(shown->properties, "        ", out);
  }
  out << std::flush;
}
