// Export requests written and their answers judged.

#include "delivery/export_request.h"

#include "core/printable_text.h"

namespace http = boost::beast::http;

namespace {

// The text of attribute `name` inside the start tag `tag`, or "".
std::string Attribute(std::string_view tag, std::string_view name) {
  for (size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
    if (at == 0 || (tag[at - 1] != ' ' && tag[at - 1] != '\t' && tag[at - 1] != '\n' && tag[at - 1] != '\r')) {
      continue;
    }
    size_t i = at + name.size();
    while (i < tag.size() && (tag[i] == ' ' || tag[i] == '\t' || tag[i] == '\n' || tag[i] == '\r')) ++i;
    if (i >= tag.size() || tag[i] != '=') continue;
    ++i;
    while (i < tag.size() && (tag[i] == ' ' || tag[i] == '\t' || tag[i] == '\n' || tag[i] == '\r')) ++i;
    if (i >= tag.size() || (tag[i] != '"' && tag[i] != '\'')) continue;
    const size_t end = tag.find(tag[i], i + 1);
    if (end == std::string_view::npos) return "";
    return std::string(tag.substr(i + 1, end - i - 1));
  }
  return "";
}

}  // namespace

std::string Base64(std::string_view bytes) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const unsigned v = static_cast<unsigned char>(bytes[i]) << 16 | static_cast<unsigned char>(bytes[i + 1]) << 8 |
                       static_cast<unsigned char>(bytes[i + 2]);
    text += kDigits[v >> 18];
    text += kDigits[(v >> 12) & 63];
    text += kDigits[(v >> 6) & 63];
    text += kDigits[v & 63];
  }
  if (i < bytes.size()) {
    const bool two = i + 1 < bytes.size();
    const unsigned v = static_cast<unsigned char>(bytes[i]) << 16 |
                       (two ? static_cast<unsigned char>(bytes[i + 1]) << 8 : 0u);
    text += kDigits[v >> 18];
    text += kDigits[(v >> 12) & 63];
    text += two ? kDigits[(v >> 6) & 63] : '=';
    text += '=';
  }
  return text;
}

TExportPost MakeExportPost(const TListenerUrl& url, const std::string& user, const std::string& password,
                           std::shared_ptr<const TExportBody> body) {
  TExportPost post;
  std::string& head = post.head;
  head.reserve(256 + url.target.size());
  head.append("POST ").append(url.target).append(" HTTP/1.1\r\nHost: ").append(url.HostHeader());
  head.append(
      "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMExport: MethodRequest\r\n"
      "CIMExportMethod: ExportIndication\r\nCIMProtocolVersion: 1.0\r\n");
  if (!user.empty()) head.append("Authorization: Basic ").append(Base64(user + ":" + password)).append("\r\n");
  head.append("Content-Length: ").append(std::to_string(body->Size())).append("\r\n\r\n");
  post.body = std::move(body);
  return post;
}

bool ExportAccepted(const TExportAnswer& answer, std::string* problem) {
  if (answer.result() != http::status::ok) {
    *problem = "the listener answered HTTP " + std::to_string(answer.result_int());
    const std::string_view reason(answer.reason().data(), answer.reason().size());
    if (!reason.empty()) *problem += " " + Printable(reason, 80);
    return false;
  }
  const std::string& body = answer.body();
  const size_t error = body.find("<ERROR");
  if (error == std::string::npos) return true;
  const size_t tagEnd = body.find('>', error);
  const std::string_view tag =
      std::string_view(body).substr(error, tagEnd == std::string::npos ? std::string::npos : tagEnd - error);
  *problem = "the listener answered with CIM error " + Printable(Attribute(tag, "CODE"), 16);
  const std::string description = Attribute(tag, "DESCRIPTION");
  if (!description.empty()) *problem += ": " + Printable(description, 160);
  return false;
}
