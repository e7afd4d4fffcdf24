// ThreadRegistry: the threads that have entered it, and whether they have ended. Nothing runs at a thread's end, so the
// code of this library may be unloaded while such threads live.
//
// Where the crypto library is part of our own file (Windows), the system tells that file of every thread that ends;
// nothing needs to be noted there.
#ifndef ZEPASIGN_PKI_THREADREGISTRY_H_
#define ZEPASIGN_PKI_THREADREGISTRY_H_

#include <memory>

namespace zepasign {

// Thread rule: one thread at a time.
class ThreadRegistry final {
 public:
  ThreadRegistry() noexcept;
  ~ThreadRegistry();
  ThreadRegistry(const ThreadRegistry&) = delete;
  ThreadRegistry& operator=(const ThreadRegistry&) = delete;

  // enter: notes the calling thread; costs nanoseconds from its second call on. Throws std::bad_alloc.
  void enter();

  // othersLive: whether a thread other than the calling one has entered and may not have ended. A thread that has been
  // joined has ended.
  [[nodiscard]] bool othersLive() const noexcept;

 private:
  // Notes: what the system's implementation keeps (threadregistry_posix.cpp, threadregistry_windows.cpp). It is null on
  // Windows; elsewhere `enter` makes it if the constructor had no memory for it.
  struct Notes;
  std::unique_ptr<Notes> notes_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_THREADREGISTRY_H_
