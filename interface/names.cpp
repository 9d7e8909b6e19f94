// Names of variables, constraints and complementarity pairs.
#include <cstring>
#include <string>

#include "interface/items.h"

using MxName = char *;

namespace {

struct MxNameSet {
  MxOptArray<std::string> *names;
  std::vector<char> *hasName;
};

MxNameSet mx_names_of(MXL_context *ctx, const MxItemKind &kind) {
  static MxOptArray<std::string> none;
  static std::vector<char> noFlags;
  if (ctx == nullptr) return {&none, &noFlags};
  if (&kind == &mxVarKind) return {&ctx->var.name, &ctx->var.hasName};
  if (&kind == &mxConKind) return {&ctx->con.name, &ctx->con.hasName};
  return {&ctx->comp.name, &ctx->comp.hasName};
}

int mx_set_names(MXL_context *ctx, const char *fn, const MxItemKind &kind, int count,
                 const int *indices, char *const *names, const char *valueName) {
  return mx_set_items(ctx, fn, kind, MX_ANY_PHASE, count, indices, names, valueName, [&](int i, int k) {
    if (names[k] == nullptr)
      mx_fatal(ctx, MX_RC_NULL_POINTER, "ERROR: Parameter %s passed to %s() is NULL.\n", valueName, fn);
    MxNameSet set = mx_names_of(ctx, kind);
    const int size = kind.size(ctx);
    mx_ensure(*set.names, size, std::string());
    mx_ensure(*set.hasName, size, char(0));
    set.names->given = true;
    set.names->v[i] = names[k];
    (*set.hasName)[i] = 1;
  });
}

// Getter of names; the constraint form keeps its historical spelling of the
// count message.
const MxItemKind mxConNameKind = {
    "ERROR: The number of contraints passed to %s() must be non-negative.\n",
    mxConKind.exceedMessage, mxConKind.rangeMessage, mxConKind.indexName,
    mxConKind.badIndexCode, 0, 1, 0, mxConKind.size};

int mx_get_names(MXL_context *ctx, const char *fn, const MxItemKind &kind, const char *what,
                 int count, const int *indices, int bufferSize, char *const *names,
                 const char *valueName) {
  MxNameSet set = mx_names_of(ctx != nullptr && ctx->magic == MX_MAGIC ? ctx : nullptr,
                              &kind == &mxConNameKind ? mxConKind : kind);
  return mx_get_items(ctx, fn, kind, count, indices, names, valueName, [&](int i, int k) -> int {
    if (!set.names->exists()) return 0;  // no name was ever set: buffers stay as they are
    const std::string &name = set.names->v[static_cast<size_t>(i)];
    if (static_cast<long>(name.size()) >= bufferSize) {
      mxl_printf(ctx, "ERROR: Length of %s name %s is greater than buffer size %d\n", what, name.c_str(),
                 bufferSize);
      return mx_getter_fail(ctx, MX_RC_BAD_SIZE);
    }
    if (names[k] == nullptr) {
      mxl_printf(ctx, "ERROR: Parameter %s passed to %s() is NULL.\n", valueName, fn);
      return mx_getter_fail(ctx, MX_RC_NULL_POINTER);
    }
    std::memcpy(names[k], name.c_str(), name.size() + 1);
    return 0;
  });
}

}  // namespace

extern "C" {

MX_EXPORT int MX_set_var_names(MX_context_ptr ctx, const int nV, const int *indexVars,
                               char *const xNames[]) {
  return mx_set_names(ctx, "MX_set_var_names", mxVarKind, nV, indexVars, xNames, "xNames");
}
MX_ALL_AND_ONE_FORMS(MX_set_var_names_all, MX_set_var_name, MX_set_var_names, mxVarKind, MxName)

MX_EXPORT int MX_set_con_names(MX_context_ptr ctx, const int nC, const int *indexCons,
                               char *const cNames[]) {
  return mx_set_names(ctx, "MX_set_con_names", mxConKind, nC, indexCons, cNames, "cNames");
}
MX_ALL_AND_ONE_FORMS(MX_set_con_names_all, MX_set_con_name, MX_set_con_names, mxConKind, MxName)

MX_EXPORT int MX_set_compcon_names(MX_context_ptr ctx, const int nCC, const int *indexCompCons,
                                   char *const ccNames[]) {
  return mx_set_names(ctx, "MX_set_compcon_names", mxCompKind, nCC, indexCompCons, ccNames, "ccNames");
}
MX_ALL_AND_ONE_FORMS(MX_set_compcon_names_all, MX_set_compcon_name, MX_set_compcon_names, mxCompKind, MxName)

MX_EXPORT int MX_get_var_names(MX_context_ptr ctx, const int nV, const int *indexVars,
                               const int bufferSize, char *const xNames[]) {
  return mx_get_names(ctx, "MX_get_var_names", mxVarKind, "variable", nV, indexVars, bufferSize,
                      xNames, "xNames");
}
MX_EXPORT int MX_get_var_names_all(MX_context_ptr ctx, const int bufferSize, char *const xNames[]) {
  return mx_call_all(ctx, mxVarKind, [&](int count, const int *idx) {
    return MX_get_var_names(ctx, count, idx, bufferSize, xNames);
  });
}
MX_EXPORT int MX_get_var_name(MX_context_ptr ctx, const int indexVar, const int bufferSize,
                              char *const xName) {
  return MX_get_var_names(ctx, 1, &indexVar, bufferSize, &xName);
}

MX_EXPORT int MX_get_con_names(MX_context_ptr ctx, const int nC, const int *indexCons,
                               const int bufferSize, char *const cNames[]) {
  return mx_get_names(ctx, "MX_get_con_names", mxConNameKind, "constraint", nC, indexCons,
                      bufferSize, cNames, "cNames");
}
MX_EXPORT int MX_get_con_names_all(MX_context_ptr ctx, const int bufferSize, char *const cNames[]) {
  return mx_call_all(ctx, mxConKind, [&](int count, const int *idx) {
    return MX_get_con_names(ctx, count, idx, bufferSize, cNames);
  });
}
MX_EXPORT int MX_get_con_name(MX_context_ptr ctx, const int indexCon, const int bufferSize,
                              char *const cName) {
  return MX_get_con_names(ctx, 1, &indexCon, bufferSize, &cName);
}

}  // extern "C"
