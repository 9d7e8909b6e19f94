// Life of the structure objects: creation on first use, growth with the
// model, deep copies for child contexts, and the frame of structure calls.
#include <algorithm>

#include "interface/structure_frame.h"

MXLIN &mx_linear(MXMOD &mod) {
  if (!mod.linear) mod.linear.reset(new MXLIN());
  return *mod.linear;
}

MXQUAD &mx_quadratic(MXMOD &mod) {
  if (!mod.quadratic) mod.quadratic.reset(new MXQUAD());
  return *mod.quadratic;
}

int mx_struct_prologue(MXL_context *ctx, const char *fn, int needVars, int needCons, int needRsds,
                       MxPhase phase, nnzint nnz, const MxArrayArg *arrays, int numArrays) {
  if (const int rc = mx_enter(ctx, fn, needVars, needCons, 0, needRsds)) return rc;
  if (phase == MX_BEFORE_SOLVE_ONLY && mx_restart_check(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  if (phase == MX_AFTER_SOLVE_ONLY && mx_restart_only(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  if (nnz == 0) return 0;
  if (nnz < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of nonzero elements passed to %s() must be non-negative.\n", fn);
  for (int k = 0; k < numArrays; ++k)
    if (arrays[k].pointer == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", arrays[k].name, fn);
  return -1;
}

std::vector<int> mx_repeat_index(MXL_context *ctx, nnzint nnz, int index) {
  (void)ctx;
  return std::vector<int>(static_cast<size_t>(std::max<nnzint>(nnz, 0)), index);
}

namespace {

// Reserve (may throw) or resize (cannot throw once reserved) one array.
template <class T>
void mx_grow(std::vector<T> &v, int size, const T &fill, bool commit) {
  if (commit)
    v.resize(static_cast<size_t>(size), fill);
  else
    v.reserve(static_cast<size_t>(size));
}

void mx_grow_pass(MXMOD &mod, int newN, int newM, bool commit) {
  for (auto &cb : mod.callbacks) {
    mx_grow(cb->xRelStepSizes, newN, 0.0, commit);
    mx_grow(cb->constraintMask, newM, 0, commit);
  }
  if (mod.linear) mx_grow(mod.linear->consWithLinear, newM, 0, commit);
  if (mod.quadratic) mx_grow(mod.quadratic->consWithQuadratic, newM, 0, commit);
}

}  // namespace

void mxStructuresGrow(MXL_context *ctx, int newN, int newM) {
  MXMOD &mod = *ctx->model;
  mx_grow_pass(mod, newN, newM, false);
  mx_grow_pass(mod, newN, newM, true);
}

void mxStructuresCopy(const MXMOD &source, MXMOD &target) {
  std::vector<std::unique_ptr<MXCB>> callbacks;
  callbacks.reserve(source.callbacks.size());
  for (const auto &cb : source.callbacks) {
    callbacks.emplace_back(new MXCB(*cb));
    callbacks.back()->owner = target.owner;
  }
  std::vector<std::unique_ptr<MXCONIC>> conics;
  conics.reserve(source.conics.size());
  for (const auto &cone : source.conics) conics.emplace_back(new MXCONIC(*cone));
  std::unique_ptr<MXLIN> linear(source.linear ? new MXLIN(*source.linear) : nullptr);
  std::unique_ptr<MXQUAD> quadratic(source.quadratic ? new MXQUAD(*source.quadratic) : nullptr);
  target.callbacks.swap(callbacks);
  target.conics.swap(conics);
  target.linear.swap(linear);
  target.quadratic.swap(quadratic);
  target.merged = source.merged;
}
