// Sparse products on coordinate and compressed rows, and the conversions.
#include "linalg/sparse_ops.h"

#include <algorithm>
#include <cmath>

#include "linalg/blas_table.h"

void multiplyAv(MXL_context *ctx, int m, nnzint nnz, const int *row, const int *col,
                const double *val, const double *v, double *y) {
  cdset(ctx, m, 0.0, y, 1);
  for (nnzint k = 0; k < nnz; ++k) y[row[k]] += val[k] * v[col[k]];
}

void multiplyATv(MXL_context *ctx, int n, nnzint nnz, const int *row, const int *col,
                 const double *val, const double *v, double *y) {
  cdset(ctx, n, 0.0, y, 1);
  for (nnzint k = 0; k < nnz; ++k) y[col[k]] += val[k] * v[row[k]];
}

void multiplyHvAdd(MXL_context *, int, nnzint nnz, const int *row, const int *col,
                   const double *val, const double *v, double *y) {
  for (nnzint k = 0; k < nnz; ++k) {
    const int i = row[k], j = col[k];
    y[i] += val[k] * v[j];
    if (i != j) y[j] += val[k] * v[i];
  }
}

void multiplyHv(MXL_context *ctx, int n, nnzint nnz, const int *row, const int *col,
                const double *val, const double *v, double *y) {
  cdset(ctx, n, 0.0, y, 1);
  multiplyHvAdd(ctx, n, nnz, row, col, val, v, y);
}

void multiplyAv_csr(MXL_context *, int m, const nnzint *start, const int *col,
                    const double *val, const double *v, double *y) {
  for (int i = 0; i < m; ++i) {
    double s = 0.0;
    for (nnzint k = start[i]; k < start[i + 1]; ++k) s += val[k] * v[col[k]];
    y[i] = s;
  }
}

void multiplyATv_csr(MXL_context *ctx, int m, int n, const nnzint *start, const int *col,
                     const double *val, const double *v, double *y) {
  cdset(ctx, n, 0.0, y, 1);
  for (int i = 0; i < m; ++i) {
    const double vi = v[i];
    if (vi == 0.0) continue;
    for (nnzint k = start[i]; k < start[i + 1]; ++k) y[col[k]] += val[k] * vi;
  }
}

void multiplyHv_csr(MXL_context *ctx, int n, const nnzint *start, const int *col,
                    const double *val, const double *v, double *y) {
  cdset(ctx, n, 0.0, y, 1);
  for (int i = 0; i < n; ++i) {
    double s = 0.0;
    for (nnzint k = start[i]; k < start[i + 1]; ++k) {
      const int j = col[k];
      s += val[k] * v[j];
      if (j != i) y[j] += val[k] * v[i];
    }
    y[i] += s;
  }
}

// Stable counting sort of the entries `order` by key[order[.]] in [0, range);
// the result goes to `out`.
static void sparseCountingSort(int range, const int *key, const std::vector<nnzint> &order,
                               std::vector<nnzint> &out, std::vector<nnzint> &count) {
  count.assign(static_cast<size_t>(range) + 1, 0);
  for (nnzint e : order) ++count[static_cast<size_t>(key[e]) + 1];
  for (int r = 0; r < range; ++r) count[r + 1] += count[r];
  out.resize(order.size());
  for (nnzint e : order) out[static_cast<size_t>(count[key[e]]++)] = e;
}

void coordinateToCRS(MXL_context *, int rows, int cols, nnzint nnz, const int *row,
                     const int *col, nnzint *start, int *index, nnzint *perm) {
  std::vector<nnzint> order(static_cast<size_t>(nnz)), byCol, byRow, count;
  for (nnzint k = 0; k < nnz; ++k) order[k] = k;
  sparseCountingSort(cols, col, order, byCol, count);
  sparseCountingSort(rows, row, byCol, byRow, count);
  start[0] = 0;
  std::fill(start + 1, start + rows + 1, 0);
  for (nnzint k = 0; k < nnz; ++k) ++start[row[k] + 1];
  for (int r = 0; r < rows; ++r) start[r + 1] += start[r];
  for (nnzint p = 0; p < nnz; ++p) {
    index[p] = col[byRow[p]];
    perm[byRow[p]] = p;
  }
}

void coordinateToCCS(MXL_context *ctx, int rows, int cols, nnzint nnz, const int *row,
                     const int *col, nnzint *start, int *index, nnzint *perm) {
  coordinateToCRS(ctx, cols, rows, nnz, col, row, start, index, perm);
}

void compressedCopyValues(nnzint nnz, const nnzint *perm, const double *coo, double *out) {
  for (nnzint k = 0; k < nnz; ++k) out[perm[k]] = coo[k];
}

void computeMatrixRowNorms1(MXL_context *ctx, int m, nnzint nnz, const int *row,
                            const double *val, double *norms) {
  cdset(ctx, m, 0.0, norms, 1);
  for (nnzint k = 0; k < nnz; ++k) norms[row[k]] += std::fabs(val[k]);
}

void computeMatrixRowNorms2(MXL_context *ctx, int m, nnzint nnz, const int *row,
                            const double *val, double *norms) {
  cdset(ctx, m, 0.0, norms, 1);
  for (nnzint k = 0; k < nnz; ++k) norms[row[k]] += val[k] * val[k];
}

bool indicesAreOrdered(nnzint n, const int *idx) {
  for (nnzint k = 1; k < n; ++k)
    if (idx[k] < idx[k - 1]) return false;
  return true;
}

bool indicesAreOrdered64(nnzint n, const nnzint *idx) {
  for (nnzint k = 1; k < n; ++k)
    if (idx[k] < idx[k - 1]) return false;
  return true;
}

// Layout of the full form: every entry of the triangle in its order, each
// off-diagonal one followed by its mirror.
nnzint triToFullStructure(nnzint nnz, const int *row, const int *col, std::vector<int> &fullRow,
                          std::vector<int> &fullCol) {
  fullRow.clear();
  fullCol.clear();
  for (nnzint k = 0; k < nnz; ++k) {
    fullRow.push_back(row[k]);
    fullCol.push_back(col[k]);
    if (row[k] != col[k]) {
      fullRow.push_back(col[k]);
      fullCol.push_back(row[k]);
    }
  }
  return static_cast<nnzint>(fullRow.size());
}

void triToFullValues(nnzint nnz, const int *row, const int *col, const double *val,
                     double *fullVal) {
  nnzint p = 0;
  for (nnzint k = 0; k < nnz; ++k) {
    fullVal[p++] = val[k];
    if (row[k] != col[k]) fullVal[p++] = val[k];
  }
}

void extractUpperTriangleCoo(nnzint nnz, int *row, int *col) {
  for (nnzint k = 0; k < nnz; ++k)
    if (row[k] > col[k]) std::swap(row[k], col[k]);
}
