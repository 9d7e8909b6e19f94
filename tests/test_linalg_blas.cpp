// The BLAS table: local kernels against the system BLAS over every option
// combination, loading of a partial library, and the fallbacks.
#include <gtest/gtest.h>
#include <dlfcn.h>

#include <cmath>
#include <functional>
#include <random>

#include "capture_context.h"
#include "linalg/blas_table.h"

namespace {

std::vector<double> randomVec(std::mt19937 &rng, size_t n) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> v(n);
  for (double &x : v) x = u(rng);
  // Triangular solves need a dominant diagonal wherever it lands; keep
  // entries away from zero.
  for (double &x : v) x += x >= 0 ? 0.5 : -0.5;
  return v;
}

// Runs `call` on the same data with the local kernels and with the system
// BLAS, and compares the written array of `size` entries; the macro names a
// failing call by its source text.
#define COMPARE(size, seed, call) \
  compareKernel(local.ctx, system.ctx, size, seed, #call, [&](MXL_context *c, std::vector<double> &out) { call; })
void compareKernel(MXL_context *local, MXL_context *system, size_t size, unsigned seed, const char *what,
                   const std::function<void(MXL_context *, std::vector<double> &)> &call) {
  std::mt19937 rng(seed);
  std::vector<double> a = randomVec(rng, size), b = a;
  call(local, a);
  call(system, b);
  for (size_t i = 0; i < size; ++i) ASSERT_NEAR(a[i], b[i], 1e-9 * (1.0 + std::fabs(b[i]))) << what << " entry " << i;
}

}  // namespace

TEST(BlasTable, LocalKernelsAgreeWithSystemBlas) {
  CaptureContext local, system;
  ASSERT_EQ(initBlasLapack(system.ctx, 1, ""), 1);
  ASSERT_EQ(system.take(), "");
  ASSERT_NE(system.ctx->blasTable.dgemm, nullptr);
  std::mt19937 rng(11);
  const int m = 5, n = 4, k = 3, ld = 7;
  const std::vector<double> A = randomVec(rng, 64), x = randomVec(rng, 16);
  std::vector<double> Amut;
  for (int order : {MX_ROW_MAJOR, MX_COL_MAJOR}) {
    for (int ta : {MX_NO_TRANS, MX_TRANS}) {
      for (int tb : {MX_NO_TRANS, MX_TRANS})
        COMPARE(64, 1, cdgemm(c, order, ta, tb, m, n, k, 0.7, A.data(), ld, x.data(), 4, 0.3, out.data(), ld));
      COMPARE(16, 2, cdgemv(c, order, ta, m, n, 1.5, A.data(), ld, x.data(), 2, -0.5, out.data(), 2));
      for (int uplo : {MX_UPPER, MX_LOWER}) {
        COMPARE(64, 3, cdsyrk(c, order, uplo, ta, n, k, 0.9, A.data(), ld, 0.2, out.data(), ld));
        for (int diag : {MX_NON_UNIT, MX_UNIT}) {
          COMPARE(16, 4, cdtrmv(c, order, uplo, ta, diag, n, A.data(), ld, out.data(), 1));
          COMPARE(16, 5, cdtpsv(c, order, uplo, ta, diag, n, A.data(), out.data(), 2));
          for (int side : {MX_LEFT, MX_RIGHT}) {
            COMPARE(64, 6, cdtrmm(c, order, side, uplo, ta, diag, m, n, 0.8, A.data(), ld, out.data(), ld));
            COMPARE(64, 7, cdtrsm(c, order, side, uplo, ta, diag, m, n, 0.8, A.data(), ld, out.data(), ld));
          }
        }
      }
    }
    for (int uplo : {MX_UPPER, MX_LOWER}) {
      COMPARE(16, 8, cdspmv(c, order, uplo, n, 1.1, A.data(), x.data(), 1, 0.4, out.data(), 1));
      COMPARE(16, 9, cdsbmv(c, order, uplo, m, 2, 1.1, A.data(), 3, x.data(), 1, 0.4, out.data(), 1));
    }
    COMPARE(64, 10, cdger(c, order, m, n, -0.6, x.data(), 1, x.data() + 5, 2, out.data(), ld));
  }
  // Level 1 with strides, including the reductions.
  COMPARE(16, 11, cdaxpy(c, 8, 2.0, x.data(), 2, out.data(), 2));
  COMPARE(16, 12, cdswap(c, 4, out.data(), 1, out.data() + 4, 3));
  COMPARE(16, 13, cdscal(c, 8, 0.5, out.data(), 2));
  COMPARE(16, 14, cdcopy(c, 5, x.data(), 3, out.data(), 2));
  for (MXL_context *c : {local.ctx, system.ctx}) {
    EXPECT_NEAR(cddot(c, 5, x.data(), 2, x.data() + 1, 3), cddot(local.ctx, 5, x.data(), 2, x.data() + 1, 3), 1e-14);
    EXPECT_NEAR(cdnrm2(c, 7, x.data(), 2), std::sqrt(cddot(nullptr, 7, x.data(), 2, x.data(), 2)), 1e-14);
    EXPECT_NEAR(cdasum(c, 16, x.data(), 1), cdasum(nullptr, 16, x.data(), 1), 1e-14);
    EXPECT_EQ(cidamax(c, 16, x.data(), 1), cidamax(nullptr, 16, x.data(), 1));
  }
  // Length 0 leaves the pointers alone.
  cdcopy(system.ctx, 0, nullptr, 1, nullptr, 1);
  cdscal(system.ctx, 0, 2.0, nullptr, 1);
  EXPECT_EQ(cdnrm2(system.ctx, 0, nullptr, 1), 0.0);
  endBlasLapack(system.ctx);
  EXPECT_EQ(system.ctx->blasTable.dgemm, nullptr);
}

// A library with only some MX_ names: the found ones are called, the rest
// run locally, and the warning says so.
TEST(BlasTable, PartialLibraryMixesLoadedAndLocalKernels) {
  CaptureContext cc;
  cc.ctx->opt.debug = 2;
  ASSERT_EQ(initBlasLapack(cc.ctx, 2, BLAS_PARTIAL_PATH), 2);
  const std::string log = cc.take();
  const std::string lib = BLAS_PARTIAL_PATH;
  EXPECT_NE(log.find("--- Debug: loaded '" + lib + "'\n"), std::string::npos);
  EXPECT_NE(log.find("--- Debug: failed to find 'MX_dgemm' in '" + lib + "'\n"), std::string::npos);
  EXPECT_EQ(log.find("failed to find 'MX_ddot'"), std::string::npos);
  EXPECT_NE(log.find("WARNING: Failed to load all BLAS functions in library '" + lib +
                     "'.\n         Missing BLAS functions will use Morvex internal BLAS.\n"),
            std::string::npos);
  int *calls = static_cast<int *>(dlsym(cc.ctx->blasTable.handle, "partial_calls"));
  ASSERT_NE(calls, nullptr);
  const double x[] = {1, 2, 3}, y[] = {4, 5, 6};
  EXPECT_EQ(cddot(cc.ctx, 3, x, 1, y, 1), 32.0);
  EXPECT_DOUBLE_EQ(cdnrm2(cc.ctx, 3, x, 1), std::sqrt(14.0));
  EXPECT_EQ(*calls, 2);
  double z[] = {1, 1, 1};
  cdaxpy(cc.ctx, 3, 2.0, x, 1, z, 1);
  double C[4] = {0, 0, 0, 0};
  cdgemm(cc.ctx, MX_COL_MAJOR, MX_NO_TRANS, MX_NO_TRANS, 2, 2, 1, 1.0, x, 2, y, 1, 0.0, C, 2);
  EXPECT_EQ(*calls, 2);
  EXPECT_EQ(z[2], 7.0);
  EXPECT_EQ(C[3], 2.0 * 5.0);
}

TEST(BlasTable, UnavailableChoicesFallBack) {
  CaptureContext cc;
  EXPECT_EQ(initBlasLapack(cc.ctx, 2, "libnot_a_blas_here.so"), 0);
  EXPECT_EQ(cc.take(), "WARNING: Failed to load BLAS library 'libnot_a_blas_here.so'.\n");
  cc.ctx->opt.debug = 2;
  EXPECT_EQ(initBlasLapack(cc.ctx, 2, "libnot_a_blas_here.so"), 0);
  const std::string log = cc.take();
  EXPECT_EQ(log.rfind("--- Debug: dynamically loading library 'libnot_a_blas_here.so'\n--- Debug: dlerror(): ", 0), 0u);
  EXPECT_NE(log.find("../lib/libnot_a_blas_here.so'\n"), std::string::npos);
  cc.ctx->opt.debug = 0;
  EXPECT_EQ(initBlasLapack(cc.ctx, 2, ""), 0);
  EXPECT_EQ(cc.take(), "WARNING: Option blasoption=2 but blasoptionlib not specified.\n"
                       "         Changing blasoption to 0.\n");
  EXPECT_EQ(initBlasLapack(cc.ctx, 4, ""), 1);
  EXPECT_EQ(cc.take(), "WARNING: Apple Accelerate not available on this platform (blasoption=4).\n"
                       "         Changing blasoption to 1.\n");
  EXPECT_NE(cc.ctx->blasTable.ddot, nullptr);
  EXPECT_EQ(initBlasLapack(cc.ctx, 9, ""), 0);
  EXPECT_EQ(cc.take(), "WARNING: CUBLAS not available on this platform (blasoption=9).\n");
  EXPECT_EQ(cc.ctx->blasTable.ddot, nullptr);
  EXPECT_EQ(initBlasLapack(cc.ctx, 3, ""), 3);
  EXPECT_EQ(cc.take(), "");
}

TEST(BlasTable, EqualFloatsTestsEachSide) {
  EXPECT_EQ(equalFloats(0.0, 0.0, 1e-8), 2);
  EXPECT_EQ(equalFloats(1.0, 1.0 + 1e-10, 1e-8), 2);
  EXPECT_EQ(equalFloats(1.0, 1.5, 0.4), 1);
  EXPECT_EQ(equalFloats(0.0, 1e-20, 1e-8), 0);
  EXPECT_EQ(equalFloats(1.0, 1.0 + 1e-15, 0.0), 0);
  EXPECT_EQ(equalFloats(1.0, 1.0 + 2e-16, 0.0), 2);
}
