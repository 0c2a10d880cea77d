#include "app/engine/post.h"

#include <new>

#include "app/engine/log.h"

namespace {

struct CLOSURE_JOB : APP_JOB_CONTEXT {
  CLOSURE_JOB(u32 Job, std::function<void()> Body)
      : APP_JOB_CONTEXT{Finish, nullptr, nullptr, Job, 0}, Run(std::move(Body)) {}
  static void Finish(APP_JOB_CONTEXT* pContext) { delete static_cast<CLOSURE_JOB*>(pContext); }

  std::function<void()> Run;
};

}  // namespace

void WORKER_RunClosure(APP_JOB_CONTEXT* pContext) {
  static_cast<CLOSURE_JOB*>(pContext)->Run();
}

bool WORKER_PostClosure(u32 JobId, std::function<void()> Run) {
  std::unique_ptr<CLOSURE_JOB> pJob(new (std::nothrow) CLOSURE_JOB(JobId, std::move(Run)));
  if (pJob == nullptr) {
    APP_ShowError(APP_CAUSE::OutOfMemory, "Insufficient memory!");
    return false;
  }
  WORKER_REQUEST request;
  request.pJob = pJob.get();
  if (WORKER_Post(request) != 0) {
    return false;
  }
  static_cast<void>(pJob.release());  // the job's since then
  return true;
}
