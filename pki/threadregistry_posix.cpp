// Each thread that enters locks a robust mutex and never unlocks it. When the thread ends, the system marks the mutex:
// a thread that tries to lock it learns that its owner is dead. A thread-specific value holds the thread's own mutex,
// so that it is locked once. The key has no destructor: one could still be called when this library is no longer there.
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <vector>

#include "pki/threadregistry.h"

namespace zepasign {
namespace {

// LifeMark: a robust mutex. Locked by a living thread it must stay where it is, since the system's list of that
// thread's mutexes refers to it.
class LifeMark final {
 public:
  LifeMark() noexcept {
    pthread_mutexattr_t robust;
    pthread_mutexattr_init(&robust);
    pthread_mutexattr_setrobust(&robust, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&mutex_, &robust);
    pthread_mutexattr_destroy(&robust);
  }
  ~LifeMark() { pthread_mutex_destroy(&mutex_); }
  LifeMark(const LifeMark&) = delete;
  LifeMark& operator=(const LifeMark&) = delete;

  void lock() noexcept { pthread_mutex_lock(&mutex_); }
  // unlock: by the thread that locked it.
  void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

  // isOwnerAlive: false also when it is not locked.
  [[nodiscard]] bool isOwnerAlive() noexcept {
    const int result = pthread_mutex_trylock(&mutex_);
    if (result == EOWNERDEAD) pthread_mutex_consistent(&mutex_);
    if (result == EOWNERDEAD || result == 0) pthread_mutex_unlock(&mutex_);
    return result != EOWNERDEAD && result != 0;
  }

 private:
  pthread_mutex_t mutex_;
};

}  // namespace

struct ThreadRegistry::Notes {
  pthread_key_t key = 0;  // the calling thread's mark
  bool hasKey = pthread_key_create(&key, nullptr) == 0;
  std::vector<std::unique_ptr<LifeMark>> marks;

  [[nodiscard]] LifeMark* ownMark() const noexcept { return static_cast<LifeMark*>(pthread_getspecific(key)); }

  // freeMark: one that no living thread holds, a new one if there is none.
  [[nodiscard]] LifeMark* freeMark() {
    const auto found = std::find_if(marks.begin(), marks.end(), [](auto& mark) { return !mark->isOwnerAlive(); });
    if (found != marks.end()) return found->get();
    marks.push_back(std::make_unique<LifeMark>());
    return marks.back().get();
  }
};

ThreadRegistry::ThreadRegistry() noexcept : notes_(new (std::nothrow) Notes) {}

ThreadRegistry::~ThreadRegistry() {
  if (!notes_ || !notes_->hasKey) return;
  const bool isNeeded = othersLive();
  if (LifeMark* const own = notes_->ownMark(); own != nullptr && !isNeeded) own->unlock();
  pthread_key_delete(notes_->key);
  if (isNeeded) static_cast<void>(notes_.release());  // the marks of living threads stay where they are
}

void ThreadRegistry::enter() {
  if (!notes_) notes_ = std::make_unique<Notes>();  // there was no memory for it when the library was loaded
  if (!notes_->hasKey || notes_->ownMark() != nullptr) return;
  LifeMark* const mark = notes_->freeMark();
  if (pthread_setspecific(notes_->key, mark) != 0) throw std::bad_alloc();
  mark->lock();
}

bool ThreadRegistry::othersLive() const noexcept {
  if (!notes_) return false;  // nobody could enter
  if (!notes_->hasKey) return true;
  return std::any_of(notes_->marks.begin(), notes_->marks.end(),
                     [own = notes_->ownMark()](const auto& mark) { return mark.get() != own && mark->isOwnerAlive(); });
}

}  // namespace zepasign
