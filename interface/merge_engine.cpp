// Sorting and merging of coordinate lists, and the expansion of callback
// patterns.
#include "interface/merge_engine.h"

#include <algorithm>

#include "driver/print.h"

namespace {

int mx_source_of(int tag) {
  switch (tag) {
    case MX_TAG_LINEAR: return MX_SRC_LINEAR;
    case MX_TAG_QUADRATIC: return MX_SRC_QUADRATIC;
    case MX_TAG_CONIC: return MX_SRC_CONIC;
    default: return MX_SRC_CALLBACK;
  }
}

bool mx_entry_less(const MxMergeEntry &a, const MxMergeEntry &b) {
  if (a.row != b.row) return a.row < b.row;
  if (a.col != b.col) return a.col < b.col;
  return a.tag < b.tag;
}

}  // namespace

int mxMergeFail(MXL_context *ctx, int code) {
  ctx->returnCode = code;
  ctx->status = MX_STATUS_FINISHED;
  return code;
}

int mxMergeEntries(MXL_context *ctx, std::vector<MxMergeEntry> &entries, int numRows, bool checkRepeats,
                   const char *dupMessage, int dupCode, MxMergedList &out) {
  std::stable_sort(entries.begin(), entries.end(), mx_entry_less);
  for (size_t k = 1; checkRepeats && k < entries.size(); ++k) {
    const MxMergeEntry &a = entries[k - 1], &b = entries[k];
    if (a.tag >= MX_TAG_CALLBACK && a.tag == b.tag && a.row == b.row && a.col == b.col) {
      mxl_printf(ctx, dupMessage, a.row, a.col);
      return mxMergeFail(ctx, dupCode);
    }
  }
  MxMergedList list;
  list.rowPtr.assign(static_cast<size_t>(numRows) + 1, 0);
  for (size_t k = 0; k < entries.size(); ++k) {
    const MxMergeEntry &e = entries[k];
    const bool fresh = k == 0 || e.row != entries[k - 1].row || e.col != entries[k - 1].col;
    if (fresh) {
      list.rows.push_back(e.row);
      list.cols.push_back(e.col);
      list.source.push_back(mx_source_of(e.tag));
      ++list.rowPtr[static_cast<size_t>(e.row) + 1];
    } else {
      list.source.back() = std::max(list.source.back(), mx_source_of(e.tag));
    }
    *e.place = static_cast<nnzint>(list.rows.size()) - 1;
  }
  for (int i = 0; i < numRows; ++i) list.rowPtr[i + 1] += list.rowPtr[i];
  out = std::move(list);
  return 0;
}

void mxCbJacCoords(const MXCB &cb, int n, bool rsd, std::vector<int> &rows, std::vector<int> &cols) {
  const int form = rsd ? cb.rsdJacForm : cb.jacForm;
  const std::vector<int> &list = rsd ? cb.indexRsds : cb.indexCons;
  rows.clear();
  cols.clear();
  if (form == MX_PATTERN_LIST) {
    rows = rsd ? cb.rsdJacIndexRsds : cb.jacIndexCons;
    cols = rsd ? cb.rsdJacIndexVars : cb.jacIndexVars;
    return;
  }
  const size_t total = list.size() * static_cast<size_t>(n);
  rows.reserve(total);
  cols.reserve(total);
  if (form == MX_PATTERN_COLMAJOR) {
    for (int j = 0; j < n; ++j)
      for (int i : list) rows.push_back(i), cols.push_back(j);
    return;
  }
  for (int i : list)
    for (int j = 0; j < n; ++j) rows.push_back(i), cols.push_back(j);
}

void mxCbHessCoords(const MXCB &cb, int n, std::vector<int> &v1, std::vector<int> &v2) {
  v1.clear();
  v2.clear();
  if (!cb.hessSet) return;
  if (cb.hessForm == MX_PATTERN_LIST) {
    v1 = cb.hessIndexVars1;
    v2 = cb.hessIndexVars2;
    return;
  }
  const size_t total = static_cast<size_t>(n) * (static_cast<size_t>(n) + 1) / 2;
  v1.reserve(total);
  v2.reserve(total);
  if (cb.hessForm == MX_PATTERN_COLMAJOR) {
    for (int j = 0; j < n; ++j)
      for (int i = 0; i <= j; ++i) v1.push_back(i), v2.push_back(j);
    return;
  }
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j) v1.push_back(i), v2.push_back(j);
}

void mxCbObjGradVars(const MXCB &cb, int n, std::vector<int> &vars) {
  vars.clear();
  if (!cb.evalObj) return;
  if (cb.objGradForm == MX_PATTERN_LIST) {
    vars = cb.objGradIndexVars;
    return;
  }
  vars.resize(static_cast<size_t>(n));
  for (int j = 0; j < n; ++j) vars[j] = j;
}

void mxDefaultCallbackPatterns(MXL_context *ctx) {
  const nnzint n = ctx->n;
  for (auto &p : ctx->model->callbacks) {
    MXCB &cb = *p;
    if (!cb.gradSet && !cb.isLsq) {
      cb.objGradForm = MX_PATTERN_DENSE;
      cb.jacForm = MX_PATTERN_ROWMAJOR;
    }
    if (!cb.rsdJacSet && cb.isLsq) cb.rsdJacForm = MX_PATTERN_ROWMAJOR;
    if (cb.evalObj && cb.objGradForm == MX_PATTERN_DENSE) cb.nnzObjGrad = n;
    if (cb.jacForm != MX_PATTERN_LIST) cb.nnzJ = cb.numCons * n;
    if (cb.rsdJacForm != MX_PATTERN_LIST) cb.nnzRsdJ = cb.numRsds * n;
    if (cb.hessSet && cb.hessForm != MX_PATTERN_LIST) cb.nnzH = n * (n + 1) / 2;
  }
}
