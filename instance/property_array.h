// TPropertyArray: the property objects of one instance, in one allocation
// that holds them in slot order behind their count.
//
// An instance hands out pointers into its properties, so they are built in
// place once and never move; the array is one pointer wide where a vector
// would take three, which counts at tens of millions of instances.
//
// Invariant: empty (no allocation) until Build, which is called once; the
// count never changes after it. Not safe to share while Build runs; after
// it, the array itself is only read.

#ifndef INMEM_INSTANCE_PROPERTY_ARRAY_H_
#define INMEM_INSTANCE_PROPERTY_ARRAY_H_

#include <cstddef>
#include <new>

#include "property/inmem_property.h"

class TPropertyArray {
 public:
  TPropertyArray() = default;
  TPropertyArray(const TPropertyArray&) = delete;
  TPropertyArray& operator=(const TPropertyArray&) = delete;
  ~TPropertyArray() {
    if (block_ == nullptr) return;
    for (size_t i = size(); i-- > 0;) data()[i].~TInmemProperty();
    ::operator delete(block_);
  }

  // Builds `count` properties, property i as `make(i, place)` builds it in
  // the raw memory `place`. When a `make` throws, the ones already built go
  // and the array stays empty.
  template <typename F>
  void Build(size_t count, const F& make) {
    if (count == 0) return;
    void* block = ::operator new(kHeader + count * sizeof(TInmemProperty));
    auto* first = reinterpret_cast<TInmemProperty*>(static_cast<char*>(block) + kHeader);
    size_t built = 0;
    try {
      for (; built < count; ++built) make(built, static_cast<void*>(first + built));
    } catch (...) {
      while (built-- > 0) first[built].~TInmemProperty();
      ::operator delete(block);
      throw;
    }
    *static_cast<size_t*>(block) = count;
    block_ = block;
  }

  size_t size() const { return block_ == nullptr ? 0 : *static_cast<const size_t*>(block_); }
  TInmemProperty* data() {
    return block_ == nullptr ? nullptr
                             : reinterpret_cast<TInmemProperty*>(static_cast<char*>(block_) + kHeader);
  }
  const TInmemProperty* data() const { return const_cast<TPropertyArray*>(this)->data(); }
  TInmemProperty& operator[](size_t i) { return data()[i]; }
  const TInmemProperty& operator[](size_t i) const { return data()[i]; }
  TInmemProperty* begin() { return data(); }
  TInmemProperty* end() { return data() + size(); }
  const TInmemProperty* begin() const { return data(); }
  const TInmemProperty* end() const { return data() + size(); }

 private:
  // The count, padded so that the properties after it are aligned.
  static constexpr size_t kHeader =
      (sizeof(size_t) + alignof(TInmemProperty) - 1) / alignof(TInmemProperty) * alignof(TInmemProperty);

  void* block_ = nullptr;
};

#endif  // INMEM_INSTANCE_PROPERTY_ARRAY_H_
