// TChunkedBodyDecoder: a state machine over the bytes of the framing, with
// the data copied in runs.

#include "server/chunked_body_decoder.h"

#include <algorithm>

#include "server/http_syntax.h"

namespace http = boost::beast::http;

TChunkedBodyDecoder::EResult TChunkedBodyDecoder::Refuse(THttpRefusal refusal) {
  state_ = EState::kRefused;
  refusal_ = std::move(refusal);
  return EResult::kRefused;
}

TChunkedBodyDecoder::EResult TChunkedBodyDecoder::Decode(std::string_view input, std::string* body,
                                                         size_t* used) {
  size_t at = 0;
  while (at < input.size() && state_ != EState::kDone && state_ != EState::kRefused) {
    if (state_ == EState::kData) {
      const size_t run = static_cast<size_t>(std::min<uint64_t>(chunkLeft_, input.size() - at));
      body->append(input.data() + at, run);
      at += run;
      received_ += run;
      chunkLeft_ -= run;
      if (chunkLeft_ == 0) state_ = EState::kDataCR;
      continue;
    }
    if (++received_ > maxBody_) {
      *used = at;
      return Refuse(BodyTooLarge(maxBody_));
    }
    if (!Step(input[at++])) {
      *used = at;
      return EResult::kRefused;
    }
  }
  *used = at;
  if (state_ == EState::kRefused) return EResult::kRefused;
  return state_ == EState::kDone ? EResult::kDone : EResult::kMore;
}

bool TChunkedBodyDecoder::Step(char c) {
  auto refuse = [&](std::string text) {
    Refuse(THttpRefusal{http::status::bad_request, "bad chunked body: " + std::move(text)});
    return false;
  };
  const bool trailer = state_ >= EState::kTrailerStart && state_ <= EState::kEndLF;
  if (trailer && ++trailerBytes_ > maxFields_) {
    Refuse(THttpRefusal{http::status::request_header_fields_too_large,
                        "the request's trailer fields are larger than " + std::to_string(maxFields_) + " bytes"});
    return false;
  }
  switch (state_) {
    case EState::kSizeStart:
      if (HexValue(c) < 0) return refuse("a chunk does not begin with its size in hex");
      chunkLeft_ = 0;
      digits_ = 0;
      extensionBytes_ = 0;
      state_ = EState::kSize;
      [[fallthrough]];
    case EState::kSize: {
      const int digit = HexValue(c);
      if (digit < 0) {
        if (c == ';') {
          state_ = EState::kExtension;
        } else if (IsHttpBlank(c)) {
          state_ = EState::kSizeSpace;
        } else if (c == '\r') {
          state_ = EState::kSizeLineEnd;
        } else {
          return refuse("a chunk size is followed by something other than an extension or CRLF");
        }
        return true;
      }
      if (++digits_ > kMaxSizeDigits) {
        return refuse("a chunk size longer than " + std::to_string(kMaxSizeDigits) + " digits");
      }
      chunkLeft_ = chunkLeft_ * 16 + static_cast<uint64_t>(digit);
      // Checked at each digit, so that the size can neither overflow nor
      // promise more data than the body may hold.
      if (chunkLeft_ > maxBody_ - received_) {
        Refuse(BodyTooLarge(maxBody_));
        return false;
      }
      return true;
    }
    case EState::kSizeSpace:
      if (IsHttpBlank(c)) return true;
      if (c != ';') return refuse("blanks after a chunk size not followed by an extension");
      state_ = EState::kExtension;
      return true;
    case EState::kExtension:
      if (++extensionBytes_ > maxFields_) {
        return refuse("chunk extensions longer than " + std::to_string(maxFields_) + " bytes");
      }
      if (c == '\r') {
        state_ = EState::kSizeLineEnd;
      } else if (!IsFieldValueChar(c)) {
        return refuse("a control character in a chunk extension");
      }
      return true;
    case EState::kSizeLineEnd:
      if (c != '\n') return refuse("a chunk size line ends in CR without LF");
      state_ = chunkLeft_ == 0 ? EState::kTrailerStart : EState::kData;
      return true;
    case EState::kDataCR:
      if (c != '\r') return refuse("chunk data longer than its size");
      state_ = EState::kDataLF;
      return true;
    case EState::kDataLF:
      if (c != '\n') return refuse("chunk data followed by CR without LF");
      state_ = EState::kSizeStart;
      return true;
    case EState::kTrailerStart:
      if (c == '\r') {
        state_ = EState::kEndLF;
      } else if (IsTokenChar(c)) {
        state_ = EState::kTrailerName;
      } else {
        return refuse(IsHttpBlank(c) ? "a folded trailer line" : "a trailer line without a field name");
      }
      return true;
    case EState::kTrailerName:
      if (c == ':') {
        state_ = EState::kTrailerValue;
      } else if (!IsTokenChar(c)) {
        return refuse("a trailer field name holds a character a name may not");
      }
      return true;
    case EState::kTrailerValue:
      if (c == '\r') {
        state_ = EState::kTrailerLineEnd;
      } else if (!IsFieldValueChar(c)) {
        return refuse("a control character in a trailer field");
      }
      return true;
    case EState::kTrailerLineEnd:
      if (c != '\n') return refuse("a trailer line ends in CR without LF");
      state_ = EState::kTrailerStart;
      return true;
    case EState::kEndLF:
      if (c != '\n') return refuse("the last line ends in CR without LF");
      state_ = EState::kDone;
      return true;
    case EState::kData:  // Decode copies data in runs, never through here
    case EState::kDone:
    case EState::kRefused:
      break;
  }
  return false;
}
