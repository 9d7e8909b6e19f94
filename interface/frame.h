// The frame shared by every exported call.
//
// Exported calls are thin extern "C" wrappers: they run their body inside
// mx_guard, which turns the internal exception raised by fatal and
// out-of-memory failures into the return code. Internal code never calls an
// exported MX_ function; it calls the internal function behind it, so every
// guard is the outermost one on its thread and no exception crosses the C
// boundary.
#pragma once

#include <exception>
#include <mutex>
#include <new>

#include "interface/context.h"

// Raised to unwind to the guard of the exported call. The context state
// (returnCode, status, fatalError) is already set when it is thrown.
struct MxUnwind {
  int code;
};

// Fatal model error: prints the message, poisons the context and unwinds.
[[noreturn]] void mx_fatal(MXL_context *ctx, int code, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
// Failure of a solve step or of memory: records the code and unwinds; the
// context stays usable.
[[noreturn]] void mx_raise(MXL_context *ctx, int code);
// Records the out-of-memory failure with its hints (no unwinding).
void mx_report_out_of_memory(MXL_context *ctx);

int mxl_magic_check(const MXL_context *ctx, int quietWhenNull, const char *fn);
int mx_api_check(MXL_context *ctx, int needVars, int needCons, int needObj,
                 int needRsds, const char *fn);
int mx_restart_check(MXL_context *ctx, const char *fn);
int mx_restart_only(MXL_context *ctx, const char *fn);

// The first steps of the frame: magic, poisoned context, call order. Returns
// 0 to go on or the code the call must return.
int mx_enter(MXL_context *ctx, const char *fn, int needVars = 0, int needCons = 0,
             int needObj = 0, int needRsds = 0);

// Debug checksum of the record (option debug at 2).
int computeDebugCheckSum(const MXL_context *ctx);
void mxl_debug_check(const MXL_context *ctx, const char *fn);

void mx_internal_error(MXL_context *ctx, const char *what);

// Runs body() and maps every escaping failure to a return code.
template <class F>
int mx_guard(MXL_context *ctx, F &&body) noexcept {
  try {
    return body();
  } catch (const MxUnwind &u) {
    return u.code;
  } catch (const std::bad_alloc &) {
    if (ctx == nullptr) return MX_RC_OUT_OF_MEMORY;
    mx_report_out_of_memory(ctx);
    return MX_RC_OUT_OF_MEMORY;
  } catch (const std::exception &e) {
    if (ctx != nullptr) mx_internal_error(ctx, e.what());
    return MX_RC_INTERNAL_ERROR;
  } catch (...) {
    if (ctx != nullptr) mx_internal_error(ctx, "unknown exception");
    return MX_RC_INTERNAL_ERROR;
  }
}

// Lock of a setter: the context mutex for the rest of the call.
using MxLock = std::lock_guard<std::mutex>;
