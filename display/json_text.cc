#include "display/json_text.h"

#include <cstdio>

#include "core/utf8.h"

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : WithValidUtf8(text)) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\t': out += "\\t"; break;
      case '\r': out += "\\r"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
          char buffer[8];
          std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c));
          out += buffer;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::string JsonValue(const TCIMValue& value) {
  if (value.IsNull()) return "null";
  if (value.IsArray()) {
    std::string out = "[";
    const std::vector<TCIMValue>& elements = value.GetElements();
    for (size_t i = 0; i < elements.size(); ++i) out += (i ? "," : "") + JsonValue(elements[i]);
    return out + "]";
  }
  ECIMType type = value.GetType();
  if (type == kCIMTypeBoolean) return static_cast<bool>(value) ? "true" : "false";
  if (IsUnsignedIntegerType(type) || IsSignedIntegerType(type)) return value.ToString();
  if (IsRealType(type)) {
    std::string text = value.ToString();
    return text == "nan" || text == "inf" || text == "-inf" ? JsonString(text) : text;
  }
  return JsonString(value.ToString());
}
