// The frame shared by the calls that add, delete and change structure.
#pragma once

#include "interface/items.h"
#include "interface/structures.h"

struct MxArrayArg {
  const void *pointer;
  const char *name;
};

// Magic, poisoned context, call order and phase, then the count and the
// arrays. Returns -1 to go on, otherwise the code to return (0 for nnz 0).
int mx_struct_prologue(MXL_context *ctx, const char *fn, int needVars, int needCons, int needRsds,
                       MxPhase phase, nnzint nnz, const MxArrayArg *arrays, int numArrays);

// The structures of the model layer, made on first use.
MXLIN &mx_linear(MXMOD &mod);
MXQUAD &mx_quadratic(MXMOD &mod);

// Linear structure changed after a solve: the Jacobian and gradient patterns
// are rebuilt at the next solve.
inline void mx_mark_linear_changed(MXL_context *ctx) {
  if (ctx->changeLevel == -1) ctx->changeLevel = 1;
}

// Constraint types rise with the structure added to them: undetermined
// becomes linear, linear becomes quadratic; general and cone types stay.
inline void mx_raise_con_type(MXL_context *ctx, int i, int type) {
  int &t = ctx->con.type[i];
  if (t == MX_CONTYPE_NONE || (t == MX_CONTYPE_LINEAR && type == MX_CONTYPE_QUADRATIC)) t = type;
}
inline void mx_raise_obj_type(MXL_context *ctx, int type) {
  int &t = ctx->obj.type;
  if (t == MX_OBJTYPE_NONE || (t == MX_OBJTYPE_LINEAR && type == MX_OBJTYPE_QUADRATIC)) t = type;
  ctx->model->objAdded = 1;
}

// A one-index list repeated nnz times, for the _one forms.
std::vector<int> mx_repeat_index(MXL_context *ctx, nnzint nnz, int index);
