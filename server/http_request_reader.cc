// THttpRequestReader: the header by Beast's parser, the framing decided
// here, the body by length or by TChunkedBodyDecoder.

#include "server/http_request_reader.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <boost/asio/buffer.hpp>

#include "core/ascii.h"
#include "core/printable_text.h"
#include "server/http_syntax.h"

namespace http = boost::beast::http;

namespace {

// A body is read into memory that grows as it arrives: a length alone,
// which any client may claim, reserves no more than this.
const size_t kReserveAtMost = 64u << 10;

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsHttpBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsHttpBlank(text.back())) text.remove_suffix(1);
  return text;
}

// The names of the transfer codings of every Transfer-Encoding field, in
// their order (a field is a comma-separated list; a coding may carry
// parameters after ';', which name nothing the server applies). False when
// a coding's name is not a token.
bool TransferCodings(const THttpRequest& request, std::vector<std::string>* codings) {
  const auto fields = request.equal_range(http::field::transfer_encoding);
  for (auto field = fields.first; field != fields.second; ++field) {
    std::string_view list(field->value().data(), field->value().size());
    while (true) {
      const size_t comma = list.find(',');
      std::string_view element = list.substr(0, comma);
      element = TrimBlanks(element.substr(0, element.find(';')));
      if (!element.empty()) {
        if (!std::all_of(element.begin(), element.end(), IsTokenChar)) return false;
        std::string name(element);
        for (char& c : name) c = ToLowerAscii(c);
        codings->push_back(std::move(name));
      }
      if (comma == std::string_view::npos) break;
      list.remove_prefix(comma + 1);
    }
  }
  return true;
}

// Why a request with Transfer-Encoding cannot be read as chunked (with
// Content-Length as well when `hasLength`); nothing when it can.
std::optional<THttpRefusal> ChunkedFramingRefusal(const THttpRequest& request, bool hasLength) {
  const http::status bad = http::status::bad_request;
  std::vector<std::string> codings;
  if (!TransferCodings(request, &codings)) {
    return THttpRefusal{bad, "Transfer-Encoding names a coding that is not a token"};
  }
  if (request.version() < 11) {
    return THttpRefusal{bad, "Transfer-Encoding in an HTTP/1.0 request: its framing cannot be trusted"};
  }
  if (hasLength) return THttpRefusal{bad, "both Content-Length and Transfer-Encoding: the length is ambiguous"};
  if (codings.empty() || codings.back() != "chunked") {
    return THttpRefusal{bad, "the last transfer coding is not chunked: the body's length cannot be known"};
  }
  if (std::count(codings.begin(), codings.end(), "chunked") > 1) {
    return THttpRefusal{bad, "the chunked coding is applied more than once"};
  }
  if (codings.size() > 1) {
    return THttpRefusal{http::status::not_implemented, "the transfer coding " + Printable(codings.front()) +
                                                            " is not supported (only chunked is)"};
  }
  return std::nullopt;
}

}  // namespace

THttpRequestReader::THttpRequestReader(THttpReadLimits limits) : limits_(limits) { StartRequest(); }

void THttpRequestReader::StartRequest() {
  phase_ = EPhase::kHeader;
  parser_.emplace();
  parser_->eager(false);  // stop after the header: the body is read here
  // The header is bounded before the parser sees it (ReadHeader).
  parser_->header_limit(std::numeric_limits<std::uint32_t>::max());
  parser_->body_limit(limits_.maxBodyBytes);
  request_ = THttpRequest();
  headerScanned_ = 0;
  lengthLeft_ = 0;
  chunked_.reset();
}

THttpRequestReader::EStep THttpRequestReader::Refuse(THttpRefusal refusal) {
  phase_ = EPhase::kRefused;
  refusal_ = std::move(refusal);
  return EStep::kRefused;
}

THttpRequest THttpRequestReader::TakeRequest() {
  THttpRequest request = std::move(request_);
  StartRequest();
  return request;
}

THttpRequestReader::EStep THttpRequestReader::Read(std::string_view input, size_t* used) {
  *used = 0;
  switch (phase_) {
    case EPhase::kHeader:
      return ReadHeader(input, used);
    case EPhase::kLengthBody: {
      const size_t run = static_cast<size_t>(std::min<uint64_t>(lengthLeft_, input.size()));
      request_.body().append(input.data(), run);
      *used = run;
      lengthLeft_ -= run;
      if (lengthLeft_ != 0) return EStep::kMore;
      phase_ = EPhase::kComplete;
      return EStep::kRequest;
    }
    case EPhase::kChunkedBody:
      switch (chunked_->Decode(input, &request_.body(), used)) {
        case TChunkedBodyDecoder::EResult::kMore:
          return EStep::kMore;
        case TChunkedBodyDecoder::EResult::kDone:
          phase_ = EPhase::kComplete;
          return EStep::kRequest;
        case TChunkedBodyDecoder::EResult::kRefused:
          return Refuse(chunked_->Refusal());
      }
      break;
    case EPhase::kComplete:
      return EStep::kRequest;
    case EPhase::kRefused:
      break;
  }
  return EStep::kRefused;
}

THttpRequestReader::EStep THttpRequestReader::ReadHeader(std::string_view input, size_t* used) {
  // The parser is handed the header only once it is all there, so that
  // what it makes of the bytes cannot depend on how they arrived: given a
  // part, it judges the request line at once or only later, depending on
  // how long the part is.
  const std::string_view window = input.substr(0, limits_.maxHeaderBytes);
  const size_t end = window.find("\r\n\r\n", headerScanned_);
  if (end == std::string_view::npos) {
    if (window.size() == limits_.maxHeaderBytes) {
      return Refuse({http::status::request_header_fields_too_large,
                    "the request headers are larger than " + std::to_string(limits_.maxHeaderBytes) + " bytes"});
    }
    // The next search starts where a CRLFCRLF could still begin.
    headerScanned_ = window.size() < 3 ? 0 : window.size() - 3;
    return EStep::kMore;
  }
  const std::string_view header = input.substr(0, end + 4);
  boost::beast::error_code ec;
  *used = parser_->put(boost::asio::buffer(header.data(), header.size()), ec);
  if (ec == http::error::body_limit) return Refuse(BodyTooLarge(limits_.maxBodyBytes));
  if (ec || !parser_->is_header_done()) {
    return Refuse({http::status::bad_request,
                  "not an HTTP request: " + (ec ? ec.message() : std::string("the header does not end"))});
  }
  const boost::optional<uint64_t> beastLength = parser_->content_length();
  const std::optional<uint64_t> length =
      beastLength ? std::optional<uint64_t>(*beastLength) : std::optional<uint64_t>();
  request_ = THttpRequest(std::move(parser_->get().base()));
  parser_.reset();
  if (!Frame(length)) return EStep::kRefused;
  if (phase_ == EPhase::kLengthBody) request_.body().reserve(std::min<uint64_t>(*length, kReserveAtMost));
  return EStep::kHeader;
}

bool THttpRequestReader::Frame(std::optional<uint64_t> length) {
  if (request_.find(http::field::transfer_encoding) != request_.end()) {
    // Beast's parser has refused a malformed length, and differing ones.
    const std::optional<THttpRefusal> refusal = ChunkedFramingRefusal(request_, length.has_value());
    if (refusal) {
      Refuse(*refusal);
      return false;
    }
    chunked_.emplace(limits_.maxBodyBytes, limits_.maxHeaderBytes);
    phase_ = EPhase::kChunkedBody;
    return true;
  }
  lengthLeft_ = length.value_or(0);
  phase_ = lengthLeft_ > 0 ? EPhase::kLengthBody : EPhase::kComplete;
  return true;
}
