// TRepositoryLock: a POSIX read-write lock of the kind that lets a waiting
// writer go first. std::shared_mutex uses the default kind, which lets
// readers in as long as any reader holds the lock.

#include "server/repository_lock.h"

#include <system_error>

namespace {

void Check(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

TRepositoryLock::TRepositoryLock() {
  pthread_rwlockattr_t attributes;
  Check(pthread_rwlockattr_init(&attributes), "pthread_rwlockattr_init");
  pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
  const int error = pthread_rwlock_init(&lock_, &attributes);
  pthread_rwlockattr_destroy(&attributes);
  Check(error, "pthread_rwlock_init");
}

TRepositoryLock::~TRepositoryLock() { pthread_rwlock_destroy(&lock_); }

void TRepositoryLock::lock() { Check(pthread_rwlock_wrlock(&lock_), "pthread_rwlock_wrlock"); }

bool TRepositoryLock::try_lock() { return pthread_rwlock_trywrlock(&lock_) == 0; }

void TRepositoryLock::unlock() { pthread_rwlock_unlock(&lock_); }

void TRepositoryLock::lock_shared() { Check(pthread_rwlock_rdlock(&lock_), "pthread_rwlock_rdlock"); }

bool TRepositoryLock::try_lock_shared() { return pthread_rwlock_tryrdlock(&lock_) == 0; }

void TRepositoryLock::unlock_shared() { pthread_rwlock_unlock(&lock_); }
