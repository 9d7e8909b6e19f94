// The BLAS function table and the dense kernels `cd...` / `ci...`.
//
// Every kernel takes the context first and dispatches: a function loaded into
// the context's table is called when present, otherwise the local kernel
// runs. Loaded functions have the cblas signatures (row- or column-major
// order first for level 2 and 3); libraries loaded with blasoption 2 export
// them under the names MX_dasum ... MX_idamax with the same signatures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct MXL_context;

// Codes of the order and option arguments (the cblas values).
enum MxBlasCode {
  MX_ROW_MAJOR = 101, MX_COL_MAJOR = 102,
  MX_NO_TRANS = 111, MX_TRANS = 112,
  MX_UPPER = 121, MX_LOWER = 122,
  MX_NON_UNIT = 131, MX_UNIT = 132,
  MX_LEFT = 141, MX_RIGHT = 142
};

using MxDasumFn = double (*)(int, const double *, int);
using MxDaxpyFn = void (*)(int, double, const double *, int, double *, int);
using MxDcopyFn = void (*)(int, const double *, int, double *, int);
using MxDdotFn = double (*)(int, const double *, int, const double *, int);
using MxDgemmFn = void (*)(int, int, int, int, int, int, double, const double *, int,
                           const double *, int, double, double *, int);
using MxDgemvFn = void (*)(int, int, int, int, double, const double *, int, const double *, int,
                           double, double *, int);
using MxDgerFn = void (*)(int, int, int, double, const double *, int, const double *, int,
                          double *, int);
using MxDnrm2Fn = double (*)(int, const double *, int);
using MxDsbmvFn = void (*)(int, int, int, int, double, const double *, int, const double *, int,
                           double, double *, int);
using MxDscalFn = void (*)(int, double, double *, int);
using MxDspmvFn = void (*)(int, int, int, double, const double *, const double *, int, double,
                           double *, int);
using MxDswapFn = void (*)(int, double *, int, double *, int);
using MxDsyrkFn = void (*)(int, int, int, int, int, double, const double *, int, double,
                           double *, int);
using MxDtpsvFn = void (*)(int, int, int, int, int, const double *, double *, int);
using MxDtrmmFn = void (*)(int, int, int, int, int, int, int, double, const double *, int,
                           double *, int);
using MxDtrmvFn = void (*)(int, int, int, int, int, const double *, int, double *, int);
using MxDtrsmFn = MxDtrmmFn;
using MxIdamaxFn = size_t (*)(int, const double *, int);

struct MxBlasTable {
  MxDasumFn dasum = nullptr;
  MxDaxpyFn daxpy = nullptr;
  MxDcopyFn dcopy = nullptr;
  MxDdotFn ddot = nullptr;
  MxDgemmFn dgemm = nullptr;
  MxDgemvFn dgemv = nullptr;
  MxDgerFn dger = nullptr;
  MxDnrm2Fn dnrm2 = nullptr;
  MxDsbmvFn dsbmv = nullptr;
  MxDscalFn dscal = nullptr;
  MxDspmvFn dspmv = nullptr;
  MxDswapFn dswap = nullptr;
  MxDsyrkFn dsyrk = nullptr;
  MxDtpsvFn dtpsv = nullptr;
  MxDtrmmFn dtrmm = nullptr;
  MxDtrmvFn dtrmv = nullptr;
  MxDtrsmFn dtrsm = nullptr;
  MxIdamaxFn idamax = nullptr;
  void *handle = nullptr;  // the loaded library

  MxBlasTable() = default;
  ~MxBlasTable();
  MxBlasTable(const MxBlasTable &) = delete;
  MxBlasTable &operator=(const MxBlasTable &) = delete;
};

// Loads the BLAS that blasoption asks for into the context's table; returns
// the blasoption in force afterwards (0 when the local kernels serve).
int initBlasLapack(MXL_context *ctx, int blasoption, const std::string &blasoptionlib);
void endBlasLapack(MXL_context *ctx);
// Resolves every table name with the prefix ("cblas_" or "MX_"); returns 1
// when all were found, 0 otherwise (the found ones stay in use).
int loadDynFnPtrs(MXL_context *ctx, void *handle, const char *prefix, const char *libname);

// Level 1.
double cdasum(MXL_context *ctx, int n, const double *x, int incx);
void cdaxpy(MXL_context *ctx, int n, double a, const double *x, int incx, double *y, int incy);
void cdcopy(MXL_context *ctx, int n, const double *x, int incx, double *y, int incy);
double cddot(MXL_context *ctx, int n, const double *x, int incx, const double *y, int incy);
double cdnrm2(MXL_context *ctx, int n, const double *x, int incx);
void cdscal(MXL_context *ctx, int n, double a, double *x, int incx);
void cdswap(MXL_context *ctx, int n, double *x, int incx, double *y, int incy);
int cidamax(MXL_context *ctx, int n, const double *x, int incx);
double cdnrminf(MXL_context *ctx, int n, const double *x, int incx);
void cdset(MXL_context *ctx, int n, double a, double *x, int incx);
void ciset(MXL_context *ctx, int n, int a, int *x, int incx);
void cicopy(MXL_context *ctx, int n, const int *x, int incx, int *y, int incy);
void cdscalvec(MXL_context *ctx, int n, const double *s, double *x);
// Level 2.
void cdgemv(MXL_context *ctx, int order, int trans, int m, int n, double alpha, const double *A,
            int lda, const double *x, int incx, double beta, double *y, int incy);
void cdger(MXL_context *ctx, int order, int m, int n, double alpha, const double *x, int incx,
           const double *y, int incy, double *A, int lda);
void cdsbmv(MXL_context *ctx, int order, int uplo, int n, int k, double alpha, const double *A,
            int lda, const double *x, int incx, double beta, double *y, int incy);
void cdspmv(MXL_context *ctx, int order, int uplo, int n, double alpha, const double *Ap,
            const double *x, int incx, double beta, double *y, int incy);
void cdtpsv(MXL_context *ctx, int order, int uplo, int trans, int diag, int n, const double *Ap,
            double *x, int incx);
void cdtrmv(MXL_context *ctx, int order, int uplo, int trans, int diag, int n, const double *A,
            int lda, double *x, int incx);
// Level 3.
void cdgemm(MXL_context *ctx, int order, int transA, int transB, int m, int n, int k,
            double alpha, const double *A, int lda, const double *B, int ldb, double beta,
            double *C, int ldc);
void cdsyrk(MXL_context *ctx, int order, int uplo, int trans, int n, int k, double alpha,
            const double *A, int lda, double beta, double *C, int ldc);
void cdtrmm(MXL_context *ctx, int order, int side, int uplo, int transA, int diag, int m, int n,
            double alpha, const double *A, int lda, double *B, int ldb);
void cdtrsm(MXL_context *ctx, int order, int side, int uplo, int transA, int diag, int m, int n,
            double alpha, const double *A, int lda, double *B, int ldb);

// 2 when both |a| and |b| pass max(tol, eps) * max(|a|, |b|) >= |a - b|
// each on its own side, 1 when one does, 0 when none does.
int equalFloats(double a, double b, double tol);
