// TRepositoryLock: the one lock between the server's threads and the
// repository. Reads (lookups, enumerations, walks, queries, the pieces of
// an answer being written, snapshots) hold it shared and run side by side;
// writes (instance and class changes, inventory collections, the
// indications a change makes) hold it alone.
//
// A waiting writer goes before readers that come after it, so a steady
// stream of reads cannot hold a write off for ever. The price is that a
// thread must never take it shared twice: with a writer waiting between
// the two, it would wait for itself.
//
// Meets the standard's SharedMutex requirements, so std::shared_lock and
// std::unique_lock take it. Safe to share between threads; it is what makes
// the rest safe.

#ifndef INMEM_SERVER_REPOSITORY_LOCK_H_
#define INMEM_SERVER_REPOSITORY_LOCK_H_

#include <pthread.h>

#include <mutex>
#include <shared_mutex>

class TRepositoryLock {
 public:
  TRepositoryLock();
  ~TRepositoryLock();
  TRepositoryLock(const TRepositoryLock&) = delete;
  TRepositoryLock& operator=(const TRepositoryLock&) = delete;

  void lock();
  bool try_lock();
  void unlock();
  void lock_shared();
  bool try_lock_shared();
  void unlock_shared();

  // The sections of a read and of a write.
  std::shared_lock<TRepositoryLock> Read() { return std::shared_lock<TRepositoryLock>(*this); }
  std::unique_lock<TRepositoryLock> Write() { return std::unique_lock<TRepositoryLock>(*this); }

 private:
  pthread_rwlock_t lock_;
};

#endif  // INMEM_SERVER_REPOSITORY_LOCK_H_
