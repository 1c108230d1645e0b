#include "query/query_error.h"

#include "core/printable_text.h"

namespace {

// Pieces of text in a message are short: a token, a name, a literal's start.
constexpr size_t kShownBytes = 40;

std::string Message(size_t position, const std::string& detail) {
  return position == 0 ? detail : "at position " + std::to_string(position) + ": " + detail;
}

}  // namespace

TQueryError::TQueryError(EQueryErrorKind kind, size_t position, const std::string& detail)
    : std::runtime_error(Message(position, detail)), kind_(kind), position_(position), detail_(detail) {}

std::string QuotedForMessage(std::string_view text) {
  if (text.empty()) return "the end of the query";
  // A string literal as written carries its own quotes.
  const bool quoted =
      text.size() >= 2 && (text.front() == '\'' || text.front() == '"') && text.back() == text.front();
  if (quoted && text.size() <= kShownBytes) return Printable(text, kShownBytes);
  return "'" + Printable(text, kShownBytes) + "'";
}
