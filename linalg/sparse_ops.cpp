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

// A by columns, keeping for each entry its place in the rows of A.
static void ataColumns(int m, int n, const nnzint *start, const int *col, AtaPattern &pat) {
  const nnzint nnz = start[m];
  pat.aColStart.assign(static_cast<size_t>(n) + 1, 0);
  for (nnzint p = 0; p < nnz; ++p) ++pat.aColStart[static_cast<size_t>(col[p]) + 1];
  for (int j = 0; j < n; ++j) pat.aColStart[j + 1] += pat.aColStart[j];
  std::vector<nnzint> fill(pat.aColStart.begin(), pat.aColStart.end() - 1);
  pat.aColRow.resize(static_cast<size_t>(nnz));
  pat.aColPos.resize(static_cast<size_t>(nnz));
  for (int i = 0; i < m; ++i)
    for (nnzint p = start[i]; p < start[i + 1]; ++p) {
      const nnzint q = fill[col[p]]++;
      pat.aColRow[q] = i;
      pat.aColPos[q] = p;
    }
}

nnzint getNnzATA_CSR(int m, int n, const nnzint *start, const int *col, AtaPattern *pat) {
  pat->n = n;
  ataColumns(m, n, start, col, *pat);
  pat->start.assign(static_cast<size_t>(n) + 1, 0);
  pat->col.clear();
  std::vector<int> mark(static_cast<size_t>(n), -1);
  // Row j of A'A: columns k >= j sharing a row of A with column j.
  for (int j = 0; j < n; ++j) {
    const size_t first = pat->col.size();
    for (nnzint q = pat->aColStart[j]; q < pat->aColStart[j + 1]; ++q) {
      const int i = pat->aColRow[q];
      for (nnzint p = start[i]; p < start[i + 1]; ++p)
        if (col[p] >= j && mark[col[p]] != j) {
          mark[col[p]] = j;
          pat->col.push_back(col[p]);
        }
    }
    std::sort(pat->col.begin() + static_cast<long>(first), pat->col.end());
    pat->start[j + 1] = static_cast<nnzint>(pat->col.size());
  }
  pat->work.assign(static_cast<size_t>(n), 0.0);
  return pat->start[n];
}

void multiplyATA_CSR(int, const nnzint *start, const int *col, const double *val,
                     const double *d, AtaPattern &pat, double *out) {
  std::vector<double> &w = pat.work;
  for (int j = 0; j < pat.n; ++j) {
    for (nnzint q = pat.aColStart[j]; q < pat.aColStart[j + 1]; ++q) {
      const int i = pat.aColRow[q];
      const double aij = val[pat.aColPos[q]] * (d != nullptr ? d[i] : 1.0);
      for (nnzint p = start[i]; p < start[i + 1]; ++p)
        if (col[p] >= j) w[col[p]] += aij * val[p];
    }
    for (nnzint p = pat.start[j]; p < pat.start[j + 1]; ++p) {
      out[p] = w[pat.col[p]];
      w[pat.col[p]] = 0.0;
    }
  }
}

nnzint getNnzAplusBsym(int n, nnzint nnzA, const int *rowA, const int *colA, nnzint nnzB,
                       const int *rowB, const int *colB, SymSumPattern *pat) {
  // Both lists in the lower triangle, sorted together by row then column.
  const nnzint total = nnzA + nnzB;
  std::vector<int> r(static_cast<size_t>(total)), c(static_cast<size_t>(total));
  for (nnzint k = 0; k < total; ++k) {
    const int i = k < nnzA ? rowA[k] : rowB[k - nnzA], j = k < nnzA ? colA[k] : colB[k - nnzA];
    r[k] = std::max(i, j);
    c[k] = std::min(i, j);
  }
  std::vector<nnzint> start(static_cast<size_t>(n) + 1), perm(static_cast<size_t>(total));
  std::vector<int> index(static_cast<size_t>(total));
  coordinateToCRS(nullptr, n, n, total, r.data(), c.data(), start.data(), index.data(),
                  perm.data());
  // Equal neighbours in the sorted order merge into one entry of the sum.
  std::vector<nnzint> slot(static_cast<size_t>(total));
  pat->row.clear();
  pat->col.clear();
  for (int i = 0; i < n; ++i)
    for (nnzint p = start[i]; p < start[i + 1]; ++p) {
      if (p == start[i] || index[p] != index[p - 1]) {
        pat->row.push_back(i);
        pat->col.push_back(index[p]);
      }
      slot[p] = static_cast<nnzint>(pat->row.size()) - 1;
    }
  pat->mapA.resize(static_cast<size_t>(nnzA));
  pat->mapB.resize(static_cast<size_t>(nnzB));
  for (nnzint k = 0; k < total; ++k) {
    if (k < nnzA)
      pat->mapA[k] = slot[perm[k]];
    else
      pat->mapB[k - nnzA] = slot[perm[k]];
  }
  return static_cast<nnzint>(pat->row.size());
}

void addAplusBsym(const SymSumPattern &pat, const double *valA, const double *valB,
                  double *out) {
  std::fill(out, out + pat.row.size(), 0.0);
  for (size_t k = 0; k < pat.mapA.size(); ++k) out[pat.mapA[k]] += valA[k];
  for (size_t k = 0; k < pat.mapB.size(); ++k) out[pat.mapB[k]] += valB[k];
}
