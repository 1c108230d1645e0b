// TExportBody: pieces of an export request's body.

#include "delivery/export_body.h"

#include <algorithm>

TExportBody::TExportBody(std::string head, std::shared_ptr<const std::string> shared, size_t at, std::string insert,
                         std::string_view tail)
    : head_(std::move(head)),
      shared_(std::move(shared)),
      at_(shared_ ? std::min(at, shared_->size()) : 0),
      insert_(std::move(insert)),
      tail_(tail) {}

std::array<std::string_view, 5> TExportBody::Pieces() const {
  const std::string_view shared = shared_ ? std::string_view(*shared_) : std::string_view();
  return {head_, shared.substr(0, at_), insert_, shared.substr(at_), tail_};
}

size_t TExportBody::Size() const {
  return head_.size() + (shared_ ? shared_->size() : 0) + insert_.size() + tail_.size();
}

std::string TExportBody::Text() const {
  std::string text;
  text.reserve(Size());
  for (std::string_view piece : Pieces()) text.append(piece);
  return text;
}
