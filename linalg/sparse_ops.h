// Sparse products and conversions between coordinate and compressed forms.
// Coordinate arrays are 0-based (row, col, val) with nnzint counts; compressed
// forms have an nnzint start array of (rows or columns) + 1 entries.
#pragma once

#include <cstdint>
#include <vector>

struct MXL_context;
using nnzint = int64_t;

// y := A v (y has m entries) and y := A' v (y has n entries).
void multiplyAv(MXL_context *ctx, int m, nnzint nnz, const int *row, const int *col,
                const double *val, const double *v, double *y);
void multiplyATv(MXL_context *ctx, int n, nnzint nnz, const int *row, const int *col,
                 const double *val, const double *v, double *y);
// y := H v and y += H v for a symmetric H given by one triangle.
void multiplyHv(MXL_context *ctx, int n, nnzint nnz, const int *row, const int *col,
                const double *val, const double *v, double *y);
void multiplyHvAdd(MXL_context *ctx, int n, nnzint nnz, const int *row, const int *col,
                   const double *val, const double *v, double *y);

// The same on compressed rows.
void multiplyAv_csr(MXL_context *ctx, int m, const nnzint *start, const int *col,
                    const double *val, const double *v, double *y);
void multiplyATv_csr(MXL_context *ctx, int m, int n, const nnzint *start, const int *col,
                     const double *val, const double *v, double *y);
void multiplyHv_csr(MXL_context *ctx, int n, const nnzint *start, const int *col,
                    const double *val, const double *v, double *y);

// Coordinate to compressed rows: rows in order, columns ascending inside a
// row (counting sort on the column, then a stable one on the row). perm[k]
// is the place of coordinate entry k, so that later values are copied with
// compressedCopyValues without sorting again.
void coordinateToCRS(MXL_context *ctx, int rows, int cols, nnzint nnz, const int *row,
                     const int *col, nnzint *start, int *index, nnzint *perm);
void coordinateToCCS(MXL_context *ctx, int rows, int cols, nnzint nnz, const int *row,
                     const int *col, nnzint *start, int *index, nnzint *perm);
void compressedCopyValues(nnzint nnz, const nnzint *perm, const double *coo, double *out);

// A'A (or A'DA with a diagonal D) of an m x n matrix in compressed rows,
// as the upper triangle in compressed rows. The pattern is built once; the
// values are refreshed from new values of A with the same pattern.
struct AtaPattern {
  int n = 0;
  std::vector<nnzint> start;     // n + 1 entries
  std::vector<int> col;          // columns of each row, ascending
  std::vector<nnzint> aColStart;  // A by columns: n + 1 entries
  std::vector<int> aColRow;      // row of each entry of A by columns
  std::vector<nnzint> aColPos;   // its position in the compressed rows of A
  std::vector<double> work;      // n entries, kept zero between calls
};
nnzint getNnzATA_CSR(int m, int n, const nnzint *start, const int *col, AtaPattern *pat);
void multiplyATA_CSR(int m, const nnzint *start, const int *col, const double *val,
                     const double *d, AtaPattern &pat, double *out);

// Sum of two symmetric matrices given by one triangle each, with different
// patterns: the pattern of the sum (lower triangle, by rows) and where each
// entry of A and of B lands in it.
struct SymSumPattern {
  std::vector<int> row, col;
  std::vector<nnzint> mapA, mapB;
};
nnzint getNnzAplusBsym(int n, nnzint nnzA, const int *rowA, const int *colA, nnzint nnzB,
                       const int *rowB, const int *colB, SymSumPattern *pat);
void addAplusBsym(const SymSumPattern &pat, const double *valA, const double *valB,
                  double *out);

// 1-norm and squared 2-norm of every row (norms has m entries).
void computeMatrixRowNorms1(MXL_context *ctx, int m, nnzint nnz, const int *row,
                            const double *val, double *norms);
void computeMatrixRowNorms2(MXL_context *ctx, int m, nnzint nnz, const int *row,
                            const double *val, double *norms);

// True when idx is non-decreasing.
bool indicesAreOrdered(nnzint n, const int *idx);
bool indicesAreOrdered64(nnzint n, const nnzint *idx);

// One triangle to both: the structure (diagonal once, off-diagonal entries
// mirrored) and, with the same layout, the values.
nnzint triToFullStructure(nnzint nnz, const int *row, const int *col, std::vector<int> &fullRow,
                          std::vector<int> &fullCol);
void triToFullValues(nnzint nnz, const int *row, const int *col, const double *val,
                     double *fullVal);
// The upper triangle of a coordinate matrix: entries below the diagonal are
// mirrored (row and column swapped).
void extractUpperTriangleCoo(nnzint nnz, int *row, int *col);
