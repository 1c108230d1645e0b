// TReferrerIndex: which instances of one class hold references with which
// path text, so that a references or associators walk visits only the
// instances that can point at its instance instead of every instance.
//
// A reference resolves by exact path text: its namespace's class of that
// name files instances under their path text. So an instance filed under
// text K can only be reached by references whose text is K, and the index
// files each instance of the class under the (hashed) text of every
// reference value it holds. An instance it cannot file that way is kept on
// a list that every walk visits:
//   - an instance that is not one of this repository's (its references are
//     not known to the index),
//   - a reference property still on its declaration's default (the default
//     can change without the instance knowing),
//   - a reference that resolves through a namespace or class of another
//     implementation, which may answer any text with any instance.
//
// Invariants: every entry held refers to a live element of the class's
// instance map; an entry is removed (with the same instance values it was
// added with) before the map element goes or its instance's references
// change. Hash collisions only add candidates: a walk still checks each one.

#ifndef INMEM_SCHEMA_REFERRER_INDEX_H_
#define INMEM_SCHEMA_REFERRER_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>
#include <boost/shared_ptr.hpp>

#include "include/cim_instance.h"
#include "schema/path_hash.h"

class TInmemInstance;

class TReferrerIndex {
 public:
  // A class's instances, keyed by instance path text.
  typedef std::map<std::string, boost::shared_ptr<ICIMInstance>> TInstanceMap;
  typedef TInstanceMap::iterator TEntry;

 private:
  // Entries ordered by their path text; looked up by text as well.
  struct TByPath {
    typedef void is_transparent;
    bool operator()(TEntry a, TEntry b) const { return a->first < b->first; }
    bool operator()(TEntry a, const std::string& b) const { return a->first < b; }
    bool operator()(const std::string& a, TEntry b) const { return a < b->first; }
  };
  // A B-tree: the few entries under one path text lie together in one node,
  // so a walk over them touches a cache line or two instead of a node each.
  typedef absl::btree_set<TEntry, TByPath> TEntrySet;

 public:
  // Where a walk over the entries that may point at one target stands.
  class TWalk {
   public:
    explicit TWalk(const TInmemInstance& target) : target_(target) {}

   private:
    friend class TReferrerIndex;
    const TInmemInstance& target_;
    // The map key of the entry Next gave last; the caller keeps it alive.
    const std::string* after_ = nullptr;
    // While neither the index nor the target's filing has changed since
    // the last search (same versions), the walk steps on through the one
    // set of entries that search went through.
    const TEntrySet* set_ = nullptr;
    TEntrySet::const_iterator at_;
    uint64_t version_ = 0;
    uint32_t filingVersion_ = 0;
  };

  // Files `entry`; `instance` is its instance when it is one of this
  // repository's, else nullptr.
  void Add(TEntry entry, const TInmemInstance* instance);
  // Forgets `entry`, which the same instance values filed.
  void Remove(TEntry entry, const TInmemInstance* instance);
  void Clear();

  // A path that some instance filed here holds as a reference value and
  // that a reader cannot tell from `path` (see
  // TCIMReference::SameInEveryPart), or nullptr. Looks at one instance
  // filed under `path`'s text, as filing a new referrer of the same target
  // does, so that the referrers of one target hold one path.
  const TCIMReference* HeldPathLike(const TCIMReference& path) const;

  // In path order, the next entry of `walk` (the first when it has given
  // none): the first entry after the one it gave last that may hold a
  // reference to its target as the target is filed now; `end` when there is
  // none. Every entry that does hold one is among them. The map key of the
  // entry given last must still exist, even if that entry was dropped since.
  TEntry Next(TWalk* walk, TEntry end) const;

  // Asks the processor to bring into its cache, ahead of a walk from
  // `target`, what examining the first of the entries that may point at it
  // reads: their map elements and path texts, their instances, property
  // arrays and reference values. Changes nothing; only makes the walk's
  // reads of a large repository wait for memory a few times in all instead
  // of a few times per entry.
  void Prefetch(const TInmemInstance& target) const;

 private:
  // The first entry of `entries` after `after`, if it comes before `*best`.
  static void TakeEarlier(const TEntrySet& entries, const std::string* after, TEntry end,
                          TEntry* best);
  // Next's search from scratch, over every place the target is filed.
  TEntry Search(const TInmemInstance& target, const std::string* after, TEntry end) const;

  absl::flat_hash_map<size_t, TEntrySet> byReferencedPath_;
  TEntrySet alwaysVisited_;
  // Moves on with every change of the index, so that walks know to search
  // again.
  uint64_t version_ = 0;
};

#endif  // INMEM_SCHEMA_REFERRER_INDEX_H_
