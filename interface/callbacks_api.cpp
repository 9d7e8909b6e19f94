// Evaluation callbacks: creation, their derivative patterns and settings.
//
// A callback's lists and patterns are checked whole before anything is
// stored; dense pattern forms are kept as a form and expanded by the merge,
// so they follow the model when variables are added later.
#include <algorithm>

#include "interface/structure_frame.h"

namespace {

struct MxCbKind {
  bool lsq;
  const char *countName;   // "nC" or "nR"
  const char *listName;    // "indexCons" or "indexRsds"
  const char *fn;
};

void mx_check_cb_count(MXL_context *ctx, const MxCbKind &k, int count, const int *list) {
  const int size = k.lsq ? ctx->r : ctx->m;
  if (count < 0)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of elements %s passed to %s() must be non-negative.\n",
             k.countName, k.fn);
  if (count > size)
    mx_fatal(ctx, MX_RC_BAD_SIZE, "ERROR: The number of elements %s passed to %s() cannot be greater than %d.\n",
             k.countName, k.fn, size);
  if (count > 0 && list == nullptr)
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", k.listName, k.fn);
}

void mx_check_cb_list(MXL_context *ctx, const MxCbKind &k, int count, const int *list) {
  const int size = k.lsq ? ctx->r : ctx->m;
  std::vector<char> seen(static_cast<size_t>(size), 0);
  for (int j = 0; j < count; ++j) {
    const int i = list[j];
    if (i < 0 || i >= size) {
      if (k.lsq) mx_fatal(ctx, MX_RC_BAD_RSD_INDEX, "ERROR: Residual index %d outside of range.\n", i);
      mxl_printf(ctx, "ERROR: Constraint index %d outside of range.\n", i);
      mx_fatal(ctx, MX_RC_BAD_CON_INDEX, "       The index should be less than %d and non-negative.\n", size);
    }
    if (seen[i]) {
      mxl_printf(ctx, k.lsq ? "ERROR: Residual index %d is specified more than once\n"
                            : "ERROR: Constraint index %d is specified more than once\n", i);
      mx_fatal(ctx, k.lsq ? MX_RC_BAD_RSD_INDEX : MX_RC_BAD_CON_INDEX, "       in the array %s passed to %s().\n",
               k.listName, k.lsq ? "MX_add_lsq_eval_callback" : "MX_add_eval_callback");
    }
    seen[i] = 1;
  }
}

MXCB *mx_new_callback(MXL_context *ctx, const MxCbKind &k, int evalObj, int count, const int *list) {
  MXMOD &mod = *ctx->model;
  try {
    std::unique_ptr<MXCB> cb(new MXCB());
    cb->owner = ctx;
    cb->index = static_cast<int>(mod.callbacks.size());
    cb->isLsq = k.lsq;
    cb->evalObj = k.lsq ? 0 : (evalObj != 0);
    (k.lsq ? cb->numRsds : cb->numCons) = count;
    (k.lsq ? cb->indexRsds : cb->indexCons).assign(list, list + count);
    cb->xRelStepSizes.assign(static_cast<size_t>(ctx->n), 0.0);
    cb->constraintMask.assign(static_cast<size_t>(ctx->m), 0);
    for (int j = 0; !k.lsq && j < count; ++j) cb->constraintMask[list[j]] = 1;
    mod.callbacks.reserve(mod.callbacks.size() + 1);
    mod.callbacks.emplace_back(cb.release());
  } catch (const std::bad_alloc &) {
    mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Unable to create callback pointer in %s().\n", k.fn);
  }
  return mod.callbacks.back().get();
}

int mx_add_callback(MXL_context *ctx, const MxCbKind &k, int evalObj, int count, const int *list,
                    MX_cb_routine *routine, MX_cb_context_ptr *cb) {
  return mx_guard(ctx, [&]() {
    if (cb != nullptr) *cb = nullptr;
    if (const int rc = mx_enter(ctx, k.fn, 1, 0, 0, k.lsq)) return rc;
    if (mx_restart_check(ctx, k.fn)) return int(MX_RC_ILLEGAL_CALL);
    MxLock lock(ctx->mutex);
    mx_check_cb_count(ctx, k, count, list);
    mx_check_cb_list(ctx, k, count, list);
    if (routine == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, k.lsq ? "ERROR: Residual callback pointer rsdCallback passed to %s() is NULL.\n"
                                              : "ERROR: Function callback pointer funcCallback passed to %s() is NULL.\n", k.fn);
    if (cb == nullptr) mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter cb passed to %s() is NULL.\n", k.fn);
    MXCB *made = mx_new_callback(ctx, k, evalObj, count, list);
    made->funcCallback = routine;
    for (int j = 0; j < count; ++j) (k.lsq ? ctx->rsd.type[list[j]] : ctx->con.type[list[j]]) = MX_CONTYPE_GENERAL;
    if (made->evalObj) {
      ctx->obj.type = MX_OBJTYPE_GENERAL;
      ctx->model->objAdded = 1;
    }
    *cb = made;
    return 0;
  });
}

const MxCbKind kEvalCb{false, "nC", "indexCons", "MX_add_eval_callback"};
const MxCbKind kEvalCbAll{false, "nC", "indexCons", "MX_add_eval_callback_all"};
const MxCbKind kEvalCbOne{false, "nC", "indexCons", "MX_add_eval_callback_one"};
const MxCbKind kLsqCb{true, "nR", "indexRsds", "MX_add_lsq_eval_callback"};
const MxCbKind kLsqCbAll{true, "nR", "indexRsds", "MX_add_lsq_eval_callback_all"};
const MxCbKind kLsqCbOne{true, "nR", "indexRsds", "MX_add_lsq_eval_callback_one"};

template <class F>
int mx_with_all(MXL_context *ctx, bool lsq, F &&f) noexcept {
  std::vector<int> idx;
  try {
    idx = mx_all_indices(ctx, lsq ? mxRsdKind : mxConKind);
  } catch (const std::bad_alloc &) {
    mx_report_out_of_memory(ctx);
    return MX_RC_OUT_OF_MEMORY;
  }
  return f(static_cast<int>(idx.size()), idx.empty() ? nullptr : idx.data());
}

}  // namespace

// The checks that every call on an existing callback makes first. Returns
// -1 to go on.
int mx_cb_prologue(MXL_context *ctx, MXCB *cb, const char *fn, bool beforeSolveOnly) {
  if (const int rc = mx_enter(ctx, fn)) return rc;
  if (cb == nullptr) {
    mxl_printf(ctx, "ERROR: Callback structure cb passed to %s() is NULL.\n", fn);
    mx_fatal(ctx, MX_RC_NULL_POINTER, "       First call MX_add_eval_callback() to define a callback structure.\n");
  }
  if (cb->owner != ctx)
    mx_fatal(ctx, MX_RC_BAD_PARAMINPUT, "ERROR: Callback structure cb passed to %s() belongs to another context.\n", fn);
  if (beforeSolveOnly && mx_restart_check(ctx, fn)) return MX_RC_ILLEGAL_CALL;
  return -1;
}

extern "C" {

MX_EXPORT int MX_add_eval_callback(MX_context_ptr ctx, const int evalObj, const int nC, const int *indexCons,
                                   MX_cb_routine *funcCallback, MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kEvalCb, evalObj, nC, indexCons, funcCallback, cb);
}
MX_EXPORT int MX_add_eval_callback_all(MX_context_ptr ctx, MX_cb_routine *funcCallback, MX_cb_context_ptr *cb) {
  return mx_with_all(ctx, false, [&](int count, const int *idx) {
    return mx_add_callback(ctx, kEvalCbAll, 1, count, idx, funcCallback, cb);
  });
}
MX_EXPORT int MX_add_eval_callback_one(MX_context_ptr ctx, const int indexCon, MX_cb_routine *funcCallback,
                                       MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kEvalCbOne, 0, 1, &indexCon, funcCallback, cb);
}
MX_EXPORT int MX_add_lsq_eval_callback(MX_context_ptr ctx, const int nR, const int *indexRsds,
                                       MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kLsqCb, 0, nR, indexRsds, rsdCallback, cb);
}
MX_EXPORT int MX_add_lsq_eval_callback_all(MX_context_ptr ctx, MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb) {
  return mx_with_all(ctx, true, [&](int count, const int *idx) {
    return mx_add_callback(ctx, kLsqCbAll, 0, count, idx, rsdCallback, cb);
  });
}
MX_EXPORT int MX_add_lsq_eval_callback_one(MX_context_ptr ctx, const int indexRsd, MX_cb_routine *rsdCallback,
                                           MX_cb_context_ptr *cb) {
  return mx_add_callback(ctx, kLsqCbOne, 0, 1, &indexRsd, rsdCallback, cb);
}

}  // extern "C"
