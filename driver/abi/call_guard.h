#pragma once

#include <exception>
#include <new>
#include <type_traits>

#include "driver/core/session.h"
#include "driver/core/text.h"

// What every exported function is wrapped in.

#define VORTIC_EXPORT extern "C" __attribute__((visibility("default")))

namespace vortic {

// Runs the body of a call. Nothing leaves it: what goes wrong becomes a text for the error handler
// and the result that stands for failure.
// The name is that of the call, for texts and log.
template <class R, class F>
R Guard(const char* sName, R onFailure, F&& body) noexcept {
  try {
    Session& session = Session::Get();
    try {
      if (Backend* pProbe = session.OpenProbe()) {
        pProbe->CountCall();
      }
      const R result = body(session);
      if (session.TheReporter().HasLogFile()) {
        if constexpr (std::is_integral_v<R>) {
          session.TheReporter().Trace(Format("%s = %lld", sName, static_cast<long long>(result)));
        } else {
          session.TheReporter().Trace(sName);
        }
      }
      return result;
    } catch (const std::bad_alloc&) {
      session.TheReporter().Error(Format("%s: out of memory.", sName));
    } catch (const std::exception& error) {
      session.TheReporter().Error(Format("%s: %s.", sName, error.what()));
    }
  } catch (...) {
    // Not even the report could be made; the result has to say it.
  }
  return onFailure;
}

// The same for calls that need an open probe.
template <class R, class F>
R GuardOpen(const char* sName, R onFailure, F&& body) noexcept {
  return Guard(sName, onFailure, [&](Session& session) {
    Backend* pProbe = session.OpenProbe();
    if (pProbe == nullptr) {
      session.TheReporter().Error(Format("%s: no probe is open.", sName));
      return onFailure;
    }
    return static_cast<R>(body(*pProbe, session.TheReporter()));
  });
}

inline int FailArgument(Reporter& reporter, const char* sName, const char* sWhat) {
  reporter.Error(Format("%s: %s.", sName, sWhat));
  return VORTIC_ERR_GENERAL;
}

}  // namespace vortic
