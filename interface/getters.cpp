// Getters of the model data. They report what was stored, not what presolve
// made of it; a bad argument returns its code without poisoning the context.
#include "interface/items.h"

namespace {

int mx_get_count(MXL_context *ctx, const char *fn, int *out, const char *outName,
                 int (*value)(const MXL_context *)) {
  return mx_guard(ctx, [&]() {
    const int pre = mx_getter_prologue(ctx, fn, mxVarKind, 0, nullptr, nullptr, nullptr);
    if (pre != 0) return pre;
    if (out == nullptr) {
      mxl_printf(ctx, "ERROR: Parameter %s passed to %s() is NULL.\n", outName, fn);
      return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
    }
    *out = value(ctx);
    return 0;
  });
}

template <class T>
int mx_get_array(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count,
                 const int *indices, T *out, const char *outName,
                 const std::vector<T> &(*source)(const MXL_context *)) {
  return mx_get_items(ctx, fn, kind, count, indices, out, outName, [&](int i, int k) {
    const std::vector<T> &src = source(ctx);
    if (static_cast<size_t>(i) < src.size()) out[k] = src[static_cast<size_t>(i)];
  });
}

}  // namespace

#define MX_GETTER_FORMS(BASE, ALLNAME, ONENAME, KIND, T, OUTNAME, SRC)                      \
  MX_EXPORT int BASE(MX_context_ptr ctx, const int count, const int *indices, T *values) { \
    return mx_get_array<T>(ctx, #BASE, KIND, count, indices, values, OUTNAME,              \
                           [](const MXL_context *c) -> const std::vector<T> & {            \
                             return c->SRC;                                                \
                           });                                                             \
  }                                                                                        \
  MX_EXPORT int ALLNAME(MX_context_ptr ctx, T *values) {                                   \
    return mx_call_all(ctx, KIND, [&](int count, const int *idx) {                         \
      return BASE(ctx, count, idx, values);                                                \
    });                                                                                    \
  }                                                                                        \
  MX_EXPORT int ONENAME(MX_context_ptr ctx, const int index, T *value) {                   \
    return BASE(ctx, 1, &index, value);                                                    \
  }

extern "C" {

MX_EXPORT int MX_get_number_vars(MX_context_ptr ctx, int *const nV) {
  return mx_get_count(ctx, "MX_get_number_vars", nV, "nV", [](const MXL_context *c) { return c->n; });
}
MX_EXPORT int MX_get_number_cons(MX_context_ptr ctx, int *const nC) {
  return mx_get_count(ctx, "MX_get_number_cons", nC, "nC", [](const MXL_context *c) { return c->m; });
}
MX_EXPORT int MX_get_number_rsds(MX_context_ptr ctx, int *const nR) {
  return mx_get_count(ctx, "MX_get_number_rsds", nR, "nR", [](const MXL_context *c) { return c->r; });
}
MX_EXPORT int MX_get_number_compcons(MX_context_ptr ctx, int *const nCC) {
  return mx_get_count(ctx, "MX_get_number_compcons", nCC, "nCC", [](const MXL_context *c) {
    return static_cast<int>(c->comp.index1.size());
  });
}
MX_EXPORT int MX_get_obj_type(MX_context_ptr ctx, int *const objType) {
  return mx_get_count(ctx, "MX_get_obj_type", objType, "objType",
                      [](const MXL_context *c) { return c->obj.type; });
}

MX_GETTER_FORMS(MX_get_var_lobnds, MX_get_var_lobnds_all, MX_get_var_lobnd, mxVarKind, double, "xLoBnds", var.lo)
MX_GETTER_FORMS(MX_get_var_upbnds, MX_get_var_upbnds_all, MX_get_var_upbnd, mxVarKind, double, "xUpBnds", var.up)
MX_GETTER_FORMS(MX_get_var_fxbnds, MX_get_var_fxbnds_all, MX_get_var_fxbnd, mxVarKind, double, "xFxBnds", var.lo)
MX_GETTER_FORMS(MX_get_var_types, MX_get_var_types_all, MX_get_var_type, mxVarKind, int, "xTypes", var.type)
MX_GETTER_FORMS(MX_get_con_lobnds, MX_get_con_lobnds_all, MX_get_con_lobnd, mxConKind, double, "cLoBnds", con.lo)
MX_GETTER_FORMS(MX_get_con_upbnds, MX_get_con_upbnds_all, MX_get_con_upbnd, mxConKind, double, "cUpBnds", con.up)
MX_GETTER_FORMS(MX_get_con_eqbnds, MX_get_con_eqbnds_all, MX_get_con_eqbnd, mxConKind, double, "cEqBnds", con.lo)
MX_GETTER_FORMS(MX_get_con_types, MX_get_con_types_all, MX_get_con_type, mxConKind, int, "cTypes", con.type)

}  // extern "C"
