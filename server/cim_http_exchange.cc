// TCimHttpExchange: the checks of a CIM operation request, from the
// outside in: credentials, path and method, extension headers, the XML, the
// envelope, the headers against the envelope.

#include "server/cim_http_exchange.h"

#include "server/indication_hooks.h"

#include "core/ascii.h"
#include "core/printable_text.h"
#include "server/cimxml_request.h"
#include "server/http_syntax.h"
#include "server/indication_hooks.h"
#include "server/user_file.h"

namespace http = boost::beast::http;

namespace {

const char kMapping[] = "http://www.dmtf.org/cim/mapping/http/v1.0";

// Beast's views are Boost's; the rest of the system speaks std's.
std::string_view View(boost::beast::string_view text) { return std::string_view(text.data(), text.size()); }

// %XX escapes decoded; a malformed escape stays as it is.
std::string PercentDecoded(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string_view WithoutSlashes(std::string_view text) {
  while (!text.empty() && text.front() == '/') text.remove_prefix(1);
  while (!text.empty() && text.back() == '/') text.remove_suffix(1);
  return text;
}

// The extension-header prefix an M-POST declares ("73-" for
// "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73"); false when it
// declares none for the CIM mapping.
bool ManPrefix(std::string_view man, std::string* prefix) {
  if (man.find(kMapping) == std::string_view::npos) return false;
  const size_t ns = man.find("ns=");
  if (ns == std::string_view::npos) return false;
  size_t end = ns + 3;
  while (end < man.size() && IsAsciiDigit(man[end])) ++end;
  if (end == ns + 3) return false;
  *prefix = std::string(man.substr(ns + 3, end - ns - 3)) + "-";
  return true;
}

}  // namespace

THttpAnswer TCimHttpExchange::Refusal(http::status status, const std::string& text, const char* cimError) {
  THttpAnswer answer;
  answer.status = status;
  answer.contentType = "text/plain; charset=utf-8";
  answer.body = WholeBody(text + "\n");
  answer.record.operation = "-";
  answer.record.target = text;
  if (cimError != nullptr) answer.headers.emplace_back("CIMError", cimError);
  return answer;
}

bool TCimHttpExchange::Authorized(const THttpPolicy& policy, const THttpRequest& request, THttpAnswer* refusal) {
  if (policy.users == nullptr) return true;
  std::string name, password;
  auto authorization = request.find(http::field::authorization);
  if (authorization != request.end() && TUserFile::ReadBasic(View(authorization->value()), &name, &password) &&
      policy.users->Check(name, password)) {
    return true;
  }
  *refusal = Refusal(http::status::unauthorized, "credentials required");
  refusal->headers.emplace_back("WWW-Authenticate", "Basic realm=\"" + policy.realm + "\"");
  return false;
}

bool TCimHttpExchange::ExtensionPrefix(const THttpRequest& request, std::string* prefix, THttpAnswer* refusal) {
  prefix->clear();
  if (View(request.method_string()) != "M-POST") return true;
  auto man = request.find("Man");
  if (man != request.end() && ManPrefix(View(man->value()), prefix)) return true;
  *refusal = Refusal(http::status::not_extended, std::string("M-POST needs Man: ") + kMapping + " ; ns=NN");
  return false;
}

void TCimHttpExchange::AfterAnswer() {
  operations_.Settle();
}

THttpAnswer TCimHttpExchange::Answer(const THttpRequest& request, const std::string& localHost) {
  THttpAnswer refusal;
  if (!Authorized(policy_, request, &refusal)) return refusal;
  std::string_view target = View(request.target());
  target = target.substr(0, target.find('?'));
  if (target != "/cimom") {
    if (policy_.pages) return policy_.pages(request);
    return Refusal(http::status::not_found, "no such page: " + Printable(target));
  }
  const std::string_view method = View(request.method_string());
  if (method != "POST" && method != "M-POST") {
    THttpAnswer answer = Refusal(http::status::method_not_allowed, "CIM operations are POST or M-POST");
    answer.headers.emplace_back("Allow", "POST, M-POST");
    return answer;
  }
  std::string host = localHost;
  auto hostHeader = request.find(http::field::host);
  if (hostHeader != request.end() && !hostHeader->value().empty()) {
    std::string_view value = View(hostHeader->value());
    // host:port, or [v6 address]:port
    const size_t colon = value.rfind(':');
    if (colon != std::string_view::npos && value.find(']', colon) == std::string_view::npos) {
      value = value.substr(0, colon);
    }
    host = std::string(value);
  }
  return CimOperation(request, host);
}

THttpAnswer TCimHttpExchange::CimOperation(const THttpRequest& request, const std::string& host) {
  std::string prefix;
  const bool mandatory = View(request.method_string()) == "M-POST";
  THttpAnswer refusal;
  if (!ExtensionPrefix(request, &prefix, &refusal)) return refusal;
  auto header = [&](const char* name) -> std::optional<std::string_view> {
    auto it = request.find(prefix + name);
    if (it == request.end()) return std::nullopt;
    return View(it->value());
  };
  const auto operation = header("CIMOperation");
  if (!operation || !EqualsFoldingAscii(*operation, "MethodCall")) {
    return Refusal(http::status::bad_request, "CIMOperation must be MethodCall", "unsupported-operation");
  }
  bool tooLarge = false;
  std::string why;
  std::unique_ptr<TXmlElement> document = ReadXmlDocument(request.body(), policy_.xml, &why, &tooLarge);
  if (!document) {
    return Refusal(http::status::bad_request, "the request is not XML that can be read: " + why,
                   tooLarge ? "request-not-valid" : "request-not-well-formed");
  }
  TCimRequest cim;
  try {
    cim = ReadCimRequest(*document);
    cim.documentBytes = request.body().size();
  } catch (const TCimProtocolError& e) {
    return Refusal(static_cast<http::status>(e.HttpStatus()), e.what(), e.CimError());
  }
  const auto cimMethod = header("CIMMethod");
  const auto cimObject = header("CIMObject");
  if (!cimMethod || !EqualsFoldingAscii(*cimMethod, cim.method)) {
    return Refusal(http::status::bad_request, "CIMMethod must name the method of the request, " + cim.method,
                   "header-mismatch");
  }
  if (!cimObject || (!cim.extrinsic && !EqualsFoldingAscii(WithoutSlashes(PercentDecoded(*cimObject)),
                                                           WithoutSlashes(cim.namespaceName)))) {
    return Refusal(http::status::bad_request,
                   "CIMObject must name the namespace of the request, " + cim.namespaceName, "header-mismatch");
  }
  THttpAnswer answer;
  answer.body = operations_.Run(cim, host, &answer.record);
  answer.headers.emplace_back(prefix + "CIMOperation", "MethodResponse");
  if (mandatory) answer.headers.emplace_back("Ext", "");
  return answer;
}
