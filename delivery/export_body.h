// TExportBody: the body of one CIM-XML export request, held as pieces so
// that what several requests have in common is held once.
//
// An indication that several filters select goes out in one request per
// filter, and the requests differ only in a few bytes (the message ID and
// the filter's name); the instance they carry, kilobytes long, is the same.
// A body is therefore its own head, then a text it shares with other
// bodies with its own few bytes put in at one place, then a tail that
// outlives every body (a literal). Writing the pieces one after another
// (a gather write) sends the body without ever joining it.
//
// Invariants: immutable once made; the shared text stays alive as long as
// the body does.
//
// Thread-safety: a body is immutable, so any thread may read it; the
// shared text is only read.

#ifndef INMEM_DELIVERY_EXPORT_BODY_H_
#define INMEM_DELIVERY_EXPORT_BODY_H_

#include <array>
#include <memory>
#include <string>
#include <string_view>

class TExportBody {
 public:
  // A body that is `text`, whole.
  explicit TExportBody(std::string text) : head_(std::move(text)) {}
  // `head`, then `shared` with `insert` put in before its byte `at` (at
  // most its size), then `tail`, which must outlive the body.
  TExportBody(std::string head, std::shared_ptr<const std::string> shared, size_t at, std::string insert,
              std::string_view tail);

  // The pieces, in the order they are written; some may be empty.
  std::array<std::string_view, 5> Pieces() const;
  size_t Size() const;
  // The pieces joined (for tests and logs; delivery never joins them).
  std::string Text() const;

 private:
  std::string head_;
  std::shared_ptr<const std::string> shared_;
  size_t at_ = 0;
  std::string insert_;
  std::string_view tail_;
};

#endif  // INMEM_DELIVERY_EXPORT_BODY_H_
