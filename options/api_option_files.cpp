// Exported calls of the option files and the listing of changed options.
#include <cstdio>

#include "driver/print.h"
#include "interface/frame.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

int mxFileCallEnter(MXL_context *ctx, const char *fn) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  return 0;
}

int mxFileResult(MXL_context *ctx, int rc) {
  if (rc != 0) ctx->returnCode = rc;
  return rc;
}

int mxNullFilename(MXL_context *ctx, const char *fn) {
  mxl_printf(ctx, "ERROR: %s() given a null pointer for '%s'.\n", fn, "filename");
  return mxFileResult(ctx, MX_RC_NULL_POINTER);
}

int mxLoadParams(MXL_context *ctx, const char *filename) {
  if (int rc = mxFileCallEnter(ctx, "MX_load_param_file")) return rc;
  if (ctx->solveInProgress) {
    mxl_printf(ctx, "ERROR: Cannot call MXL_load_param_file while solving.\n");
    return MX_RC_ILLEGAL_CALL;
  }
  if (filename == nullptr) return mxNullFilename(ctx, "MX_load_param_file");
  MxLock lock(ctx->mutex);
  return mxFileResult(ctx, mxLoadParamFile(ctx, filename));
}

int mxLoadTuner(MXL_context *ctx, const char *filename) {
  if (int rc = mxFileCallEnter(ctx, "MX_load_tuner_file")) return rc;
  if (ctx->solveInProgress) {
    mxl_printf(ctx, "WARNING: Cannot call MXL_load_tuner_file while solving.\n");
    return MX_RC_ILLEGAL_CALL;
  }
  if (filename == nullptr) return mxNullFilename(ctx, "MX_load_tuner_file");
  MxLock lock(ctx->mutex);
  return mxFileResult(ctx, mxLoadTunerFile(ctx, filename));
}

int mxSaveParams(MXL_context *ctx, const char *filename) {
  if (int rc = mxFileCallEnter(ctx, "MX_save_param_file")) return rc;
  if (filename == nullptr) return mxNullFilename(ctx, "MX_save_param_file");
  MxLock lock(ctx->mutex);
  return mxFileResult(ctx, mxSaveParamFile(ctx, filename));
}

int mxPrintOptions(MXL_context *ctx) {
  if (int rc = mxFileCallEnter(ctx, "MX_print_options")) return rc;
  MxLock lock(ctx->mutex);
  printOptions(ctx, ctx->opt);
  return 0;
}

}  // namespace

#define MX_FILE_CALL(ctx, expr) return mx_guard(ctx, [&]() { return expr; })

extern "C" {

MX_EXPORT int MXL_load_param_file(MXL_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxLoadParams(mx, filename));
}
MX_EXPORT int MX_load_param_file(MX_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxLoadParams(mx, filename));
}
MX_EXPORT int MXL_load_tuner_file(MXL_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxLoadTuner(mx, filename));
}
MX_EXPORT int MX_load_tuner_file(MX_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxLoadTuner(mx, filename));
}
MX_EXPORT int MXL_save_param_file(MXL_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxSaveParams(mx, filename));
}
MX_EXPORT int MX_save_param_file(MX_context_ptr mx, const char *filename) {
  MX_FILE_CALL(mx, mxSaveParams(mx, filename));
}
MX_EXPORT int MXL_print_options(MXL_context_ptr mx) { MX_FILE_CALL(mx, mxPrintOptions(mx)); }
MX_EXPORT int MX_print_options(MX_context_ptr mx) { MX_FILE_CALL(mx, mxPrintOptions(mx)); }

}  // extern "C"
