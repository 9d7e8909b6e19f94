// Error recording, the entry checks of exported calls, and the debug
// checksum of the record.
#include "interface/frame.h"

#include <cstdarg>
#include <cstdio>

#include "driver/print.h"

void mx_fatal(MXL_context *ctx, int code, const char *fmt, ...) {
  if (fmt != nullptr && fmt[0] != '\0') {
    va_list ap;
    va_start(ap, fmt);
    mxl_vprintf(ctx, fmt, ap);
    va_end(ap);
  }
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  ctx->fatalError = 1;
  throw MxUnwind{code};
}

void mx_raise(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  throw MxUnwind{code};
}

static bool mx_allows_product_hessian(const MXL_context *ctx) {
  const int alg = ctx->resolvedAlgorithm;
  const int req = ctx->opt.algorithm;
  // Hessian-vector products serve the conjugate-gradient and active-set
  // steps; the direct barrier step needs the matrix itself.
  return alg == 2 || alg == 3 || req == 2 || req == 3;
}

void mx_report_out_of_memory(MXL_context *ctx) {
  ctx->returnCode = MX_RC_OUT_OF_MEMORY;
  ctx->status = MX_STATUS_FINISHED;
  if (ctx->opt.outlev <= 0) return;
  mxl_printf(ctx, "ERROR: Not enough memory.\n");
  const int alg = ctx->resolvedAlgorithm;
  const bool barrier = alg == 1 || alg == 2;
  if (barrier && ctx->resolvedLinsysStorage != 1)
    mxl_printf(ctx, "HINT: Setting bar_linsys_storage=%d may use much less memory.\n", 1);
  const int hess = ctx->resolvedHessopt;
  if (!ctx->isLP && hess >= 1 && hess <= 3) {
    if (!mx_allows_product_hessian(ctx))
      mxl_printf(ctx, "HINT: Setting hessopt=%d may use much less memory.\n", 6);
    else
      mxl_printf(ctx, "HINT: Setting hessopt=%d or hessopt=%d may use much less memory.\n", 4, 6);
  }
  if (ctx->resolvedLinsolver == 3 || ctx->opt.linsolver == 3)
    mxl_printf(ctx, "HINT: Setting something other than linsolver=%d may use much less memory.\n", 3);
  if (ctx->opt.cg_precond == 1)
    mxl_printf(ctx, "HINT: Setting cg_precond=%d may use much less memory.\n", 0);
  if (alg == 1 && !ctx->isLP)
    mxl_printf(ctx, "HINT: Using algorithm=%d may use much less memory.\n", 2);
}

void mx_internal_error(MXL_context *ctx, const char *what) {
  mxl_printf(ctx, "Internal error: %s\n", what);
  mxl_printf(ctx, "Please report this failure to support@morvex.dev.\n");
  ctx->returnCode = MX_RC_INTERNAL_ERROR;
  ctx->status = MX_STATUS_FINISHED;
}

int mxl_magic_check(const MXL_context *ctx, int quietWhenNull, const char *fn) {
  if (ctx == nullptr) {
    if (!quietWhenNull)
      mxl_print_stderr("Fatal: %s() passed NULL for morvex context pointer.\n", fn);
    return 1;
  }
  if (ctx->magic != MX_MAGIC) {
    mxl_print_stderr("Fatal: %s() passed morvex context pointer with bad magic number.\n", fn);
    return 1;
  }
  if (ctx->opt.debug == 2) mxl_debug_check(ctx, fn);
  return 0;
}

static int mx_order_failure(MXL_context *ctx, const char *fmt, const char *fn) {
  mxl_printf(ctx, fmt, fn);
  ctx->returnCode = MX_RC_ILLEGAL_CALL;
  ctx->status = MX_STATUS_FINISHED;
  ctx->fatalError = 1;
  return 1;
}

int mx_api_check(MXL_context *ctx, int needVars, int needCons, int needObj,
                 int needRsds, const char *fn) {
  if (!ctx->modelLayerActive || ctx->model == nullptr)
    return mx_order_failure(ctx, "ERROR: MX_new*() must be called before calling %s().\n", fn);
  const MXMOD &mod = *ctx->model;
  if (needVars && !mod.varsAdded)
    return mx_order_failure(ctx, "ERROR: MX_add_var*() must be called before %s().\n", fn);
  if (needCons && !mod.consAdded)
    return mx_order_failure(ctx, "ERROR: MX_add_con*() must be called before %s().\n", fn);
  if (needObj && !mod.objAdded)
    return mx_order_failure(ctx, "ERROR: MX_add_obj*() must be called before %s().\n", fn);
  if (needRsds && !mod.rsdsAdded)
    return mx_order_failure(ctx, "ERROR: MX_add_rsd*() must be called before %s().\n", fn);
  return 0;
}

// A call made in the wrong phase of the context's life is fatal.
static int mx_phase_failure(MXL_context *ctx, const char *first, const char *second, const char *fn) {
  mxl_printf(ctx, first, fn);
  mxl_printf(ctx, "%s", second);
  ctx->returnCode = MX_RC_ILLEGAL_CALL;
  ctx->status = MX_STATUS_FINISHED;
  ctx->fatalError = 1;
  return 1;
}

int mx_restart_check(MXL_context *ctx, const char *fn) {
  if (ctx->changeLevel == 0) return 0;
  return mx_phase_failure(ctx, "ERROR: %s() cannot be called to modify the existing problem\n",
                          "       after a solve.\n", fn);
}

int mx_restart_only(MXL_context *ctx, const char *fn) {
  if (ctx->changeLevel != 0) return 0;
  return mx_phase_failure(ctx, "ERROR: %s() can only be called to modify the existing problem\n",
                          "       after an initial solve has been performed.\n", fn);
}

int mx_enter(MXL_context *ctx, const char *fn, int needVars, int needCons,
             int needObj, int needRsds) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  if (mx_api_check(ctx, needVars, needCons, needObj, needRsds, fn)) return MX_RC_ILLEGAL_CALL;
  return 0;
}

namespace {
// Running sum of signed bytes, kept as the remainder by 65536 after each
// addition; the C remainder keeps the sign of the dividend.
struct Checksum {
  long value = 0;
  void addBytes(const void *p, size_t len) {
    const signed char *b = static_cast<const signed char *>(p);
    for (size_t i = 0; i < len; ++i) value = (value + b[i]) % 65536;
  }
  void addInts(const std::vector<double> &v) {
    for (double d : v) value = (value + static_cast<long>(d)) % 65536;
  }
};
}  // namespace

int computeDebugCheckSum(const MXL_context *ctx) {
  Checksum sum;
  // The scalar state of the record and the problem arrays that an
  // application could overwrite through a stale pointer.
  sum.addBytes(&ctx->magic, sizeof ctx->magic);
  sum.addBytes(&ctx->n, sizeof ctx->n);
  sum.addBytes(&ctx->m, sizeof ctx->m);
  sum.addBytes(&ctx->changeLevel, sizeof ctx->changeLevel);
  sum.addBytes(ctx->var.lo.data(), ctx->var.lo.size() * sizeof(double));
  sum.addBytes(ctx->var.up.data(), ctx->var.up.size() * sizeof(double));
  sum.addBytes(ctx->con.lo.data(), ctx->con.lo.size() * sizeof(double));
  sum.addBytes(ctx->con.up.data(), ctx->con.up.size() * sizeof(double));
  sum.addInts(ctx->var.x);
  sum.addInts(ctx->lambda);
  return static_cast<int>(sum.value % 256);
}

void mxl_debug_check(const MXL_context *ctx, const char *fn) {
  mxl_printf(const_cast<MXL_context *>(ctx), "--- Debug: entered %s, status=%d\n", fn, ctx->status);
  if (ctx->solveInProgress && computeDebugCheckSum(ctx) != ctx->debugChecksum)
    mxl_printf(const_cast<MXL_context *>(ctx), "---   WARNING: MXL_context corrupted by application!\n");
}
