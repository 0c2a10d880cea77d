#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "app/engine/worker.h"

// Jobs as functions, and answers for somebody who may have gone by the time that they come.
//
// A function takes along by value what it works with, so nothing that a poster owns has to outlive
// a job. What a job gives back reaches its owner, a dialog mostly, through a reference that knows
// whether the owner is still there.

// The handler of every row whose jobs are posted by WORKER_PostClosure.
void WORKER_RunClosure(APP_JOB_CONTEXT* pContext);
// A job of the row JobId that calls the function on the application thread. False: not posted,
// since memory is out or the application thread has stopped; the function is gone without a call.
[[nodiscard]] bool WORKER_PostClosure(u32 JobId, std::function<void()> Run);

// A member of whoever waits for answers. Its end is the moment from which on none is delivered.
class APP_OWNER {
  struct STATE {
    std::mutex Lock;  // held while an answer is delivered
    bool IsGone = false;
  };

 public:
  // What a job holds of the owner. Any thread.
  class REF {
   public:
    bool IsGone() const {
      const std::lock_guard guard(m_pState->Lock);
      return m_pState->IsGone;
    }
    // Calls the function with the owner held in place; false, without a call, when it has gone. The
    // function is short, since the owner's end waits for it, and must not end the owner by itself.
    template <class TELL>
    bool Tell(TELL&& tell) const {
      const std::lock_guard guard(m_pState->Lock);
      if (!m_pState->IsGone) {
        std::forward<TELL>(tell)();
      }
      return !m_pState->IsGone;
    }

   private:
    friend class APP_OWNER;
    explicit REF(std::shared_ptr<STATE> pState) : m_pState(std::move(pState)) {}
    std::shared_ptr<STATE> m_pState;
  };

  APP_OWNER() : m_pState(std::make_shared<STATE>()) {}
  ~APP_OWNER() { Leave(); }
  APP_OWNER(const APP_OWNER&) = delete;
  APP_OWNER& operator=(const APP_OWNER&) = delete;
  // An owner whose members are used by answers calls it before they go.
  void Leave() {
    const std::lock_guard guard(m_pState->Lock);
    m_pState->IsGone = true;
  }
  REF GetRef() const { return REF(m_pState); }

 private:
  std::shared_ptr<STATE> m_pState;
};

// Asks for a value: work makes it on the application thread, answer takes it there. Once the owner
// has gone neither is called. False: nothing was posted, and no answer will come.
template <class WORK, class ANSWER>
[[nodiscard]] bool APP_PostFor(u32 JobId, const APP_OWNER& owner, WORK work, ANSWER answer) {
  return WORKER_PostClosure(
      JobId, [ref = owner.GetRef(), work = std::move(work), answer = std::move(answer)] {
        if (!ref.IsGone()) {
          auto value = work();
          ref.Tell([&] { answer(std::move(value)); });
        }
      });
}
