// Checks shared by the per-item setter and getter families.
#include "interface/items.h"

static int mx_num_vars(const MXL_context *ctx) { return ctx->n; }
static int mx_num_cons(const MXL_context *ctx) { return ctx->m; }
static int mx_num_rsds(const MXL_context *ctx) { return ctx->r; }
static int mx_num_comps(const MXL_context *ctx) {
  return static_cast<int>(ctx->comp.index1.size());
}

const MxItemKind mxVarKind = {
    "ERROR: The number of variables passed to %s() must be non-negative.\n",
    "ERROR: The number of variables passed to %s() must not exceed %d.\n",
    "ERROR: Variable index %d outside of range.\n",
    "indexVars", MX_RC_BAD_VAR_INDEX, 1, 0, 0, mx_num_vars};
const MxItemKind mxConKind = {
    "ERROR: The number of constraints passed to %s() must be non-negative.\n",
    "ERROR: The number of constraints passed to %s() must not exceed %d.\n",
    "ERROR: Constraint index %d outside of range.\n",
    "indexCons", MX_RC_BAD_CON_INDEX, 0, 1, 0, mx_num_cons};
const MxItemKind mxRsdKind = {
    "ERROR: The number of residuals passed to %s() must be non-negative.\n",
    "ERROR: The number of residuals passed to %s() must not exceed %d.\n",
    "ERROR: Residual index %d outside of range.\n",
    "indexRsds", MX_RC_BAD_RSD_INDEX, 0, 0, 1, mx_num_rsds};
const MxItemKind mxCompKind = {
    "ERROR: The number of complementarity constraints passed to %s() must be non-negative.\n",
    "ERROR: The number of complementarity constraints passed to %s()\n"
    "       exceeds the number of complementarity constraints in the model.\n",
    "ERROR: Complementarity constraint index %d outside of range.\n",
    "indexCompCons", MX_RC_BAD_CON_INDEX, 1, 0, 0, mx_num_comps};

void mx_bad_index(MXL_context *ctx, const MxItemKind &kind, int index) {
  mxl_printf(ctx, kind.rangeMessage, index);
  mx_fatal(ctx, kind.badIndexCode, "       The index should be less than %d and non-negative.\n",
           kind.size(ctx));
}

static int mx_phase_check(MXL_context *ctx, const char *fn, MxPhase phase) {
  if (phase == MX_BEFORE_SOLVE_ONLY && mx_restart_check(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  if (phase == MX_AFTER_SOLVE_ONLY && mx_restart_only(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  return 0;
}

static void mx_check_comp_exist(MXL_context *ctx, const char *fn, const MxItemKind &kind) {
  if (&kind != &mxCompKind || !ctx->comp.index1.empty()) return;
  mxl_printf(ctx, "ERROR: There are currently no complementarity constraints in the model.\n");
  mx_fatal(ctx, MX_RC_BAD_SIZE, "       First call MX_set_compcons() before calling %s().\n", fn);
}

static void mx_check_count(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count) {
  if (count < 0) mx_fatal(ctx, MX_RC_BAD_SIZE, kind.countMessage, fn);
  if (count > kind.size(ctx)) mx_fatal(ctx, MX_RC_BAD_SIZE, kind.exceedMessage, fn, kind.size(ctx));
}

int mx_setter_prologue(MXL_context *ctx, const char *fn, const MxItemKind &kind,
                       MxPhase phase, int count, const int *indices,
                       const void *values, const char *valueName) {
  if (const int rc = mx_enter(ctx, fn, kind.needVars, kind.needCons, 0, kind.needRsds)) return rc;
  if (const int rc = mx_phase_check(ctx, fn, phase)) return rc;
  if (count == 0) return 0;
  mx_check_comp_exist(ctx, fn, kind);
  mx_check_count(ctx, fn, kind, count);
  if (indices == nullptr)
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n",
             kind.indexName, fn);
  if (values == nullptr && valueName != nullptr)
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n",
             valueName, fn);
  return -1;
}

int mx_getter_fail(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  return code;
}

// The order checks of a getter: like mx_api_check, but a failure is not
// fatal for the context.
static int mx_getter_order(MXL_context *ctx, const char *fn, const MxItemKind &kind) {
  if (!ctx->modelLayerActive || ctx->model == nullptr) {
    mxl_printf(ctx, "ERROR: MX_new*() must be called before calling %s().\n", fn);
    return mx_getter_fail(ctx, MX_RC_ILLEGAL_CALL);
  }
  return 0;
}

int mx_getter_prologue(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count,
                       const int *indices, const void *values, const char *valueName) {
  if (mxl_magic_check(ctx, 0, fn)) return MX_RC_BAD_KCPTR;
  if (ctx->fatalError) return MX_RC_ILLEGAL_CALL;
  if (const int rc = mx_getter_order(ctx, fn, kind)) return rc;
  if (count == 0) return 0;
  if (count < 0) {
    mxl_printf(ctx, kind.countMessage, fn);
    return mx_getter_fail(ctx, MX_RC_BAD_SIZE);
  }
  if (count > kind.size(ctx)) {
    mxl_printf(ctx, kind.exceedMessage, fn, kind.size(ctx));
    return mx_getter_fail(ctx, MX_RC_BAD_SIZE);
  }
  const char *missing = indices == nullptr ? kind.indexName : values == nullptr ? valueName : nullptr;
  if (missing != nullptr) {
    mxl_printf(ctx, "ERROR: Parameter %s passed to %s() is NULL.\n", missing, fn);
    return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
  }
  return -1;
}

std::vector<int> mx_all_indices(const MXL_context *ctx, const MxItemKind &kind) {
  std::vector<int> idx;
  if (ctx == nullptr || ctx->magic != MX_MAGIC || ctx->fatalError || !ctx->modelLayerActive)
    return idx;
  idx.resize(static_cast<size_t>(kind.size(ctx)));
  for (size_t i = 0; i < idx.size(); ++i) idx[i] = static_cast<int>(i);
  return idx;
}
