// Sparse products and conversions against dense references; the SQMR
// iteration on indefinite systems.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "capture_context.h"
#include "kkt_random.h"
#include "linalg/engine.h"
#include "linalg/sparse_ops.h"
#include "linalg/sqmr.h"

namespace {

struct Coo {
  int rows = 0, cols = 0;
  std::vector<int> row, col;
  std::vector<double> val;
  std::vector<double> dense;  // row-major, duplicates summed
};

// Random coordinate matrix, unsorted, with some duplicate entries.
Coo randomCoo(std::mt19937 &rng, int rows, int cols, int nnz) {
  Coo a{rows, cols, {}, {}, {}, std::vector<double>(static_cast<size_t>(rows) * cols, 0.0)};
  std::uniform_int_distribution<int> ri(0, rows - 1), ci(0, cols - 1);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int k = 0; k < nnz; ++k) {
    a.row.push_back(ri(rng));
    a.col.push_back(ci(rng));
    a.val.push_back(u(rng));
    a.dense[static_cast<size_t>(a.row.back()) * cols + a.col.back()] += a.val.back();
  }
  return a;
}

// Compressed rows (or columns) of a coordinate matrix, values placed
// through the permutation the conversion returns.
struct Compressed {
  std::vector<nnzint> start, perm;
  std::vector<int> index;
  std::vector<double> val;
  Compressed(int rows, int cols, const std::vector<int> &r, const std::vector<int> &c, const std::vector<double> &v,
             bool byColumns = false)
      : start(static_cast<size_t>(byColumns ? cols : rows) + 1), perm(v.size()), index(v.size()), val(v.size()) {
    const nnzint nnz = static_cast<nnzint>(v.size());
    (byColumns ? coordinateToCCS : coordinateToCRS)(nullptr, rows, cols, nnz, r.data(), c.data(), start.data(),
                                                    index.data(), perm.data());
    compressedCopyValues(nnz, perm.data(), v.data(), val.data());
  }
};

// a = scale * b + plus, entry by entry.
void expectNear(const std::vector<double> &a, const std::vector<double> &b, double scale = 1.0,
                const std::vector<double> &plus = {}) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], scale * b[i] + (plus.empty() ? 0.0 : plus[i]), 1e-13) << i;
}

}  // namespace

TEST(SparseOps, ProductsMatchDenseOnCoordinateAndCompressedForms) {
  std::mt19937 rng(17);
  const Coo a = randomCoo(rng, 7, 5, 25);
  const nnzint nnz = static_cast<nnzint>(a.val.size());
  std::vector<double> v(5), w(7), y(7), z(5), ref7(7, 0.0), ref5(5, 0.0);
  for (int j = 0; j < 5; ++j) v[j] = 1.0 + j;
  for (int i = 0; i < 7; ++i) w[i] = 0.5 - i;
  for (int i = 0; i < 7; ++i)
    for (int j = 0; j < 5; ++j) {
      ref7[i] += a.dense[i * 5 + j] * v[j];
      ref5[j] += a.dense[i * 5 + j] * w[i];
    }
  multiplyAv(nullptr, 7, nnz, a.row.data(), a.col.data(), a.val.data(), v.data(), y.data());
  expectNear(y, ref7);
  multiplyATv(nullptr, 5, nnz, a.row.data(), a.col.data(), a.val.data(), w.data(), z.data());
  expectNear(z, ref5);

  // Compressed rows: ordered within each row; the products below catch a
  // wrong start array or misplaced values.
  Compressed r(7, 5, a.row, a.col, a.val);
  for (int i = 0; i < 7; ++i)
    EXPECT_TRUE(indicesAreOrdered(r.start[i + 1] - r.start[i], r.index.data() + r.start[i])) << i;
  multiplyAv_csr(nullptr, 7, r.start.data(), r.index.data(), r.val.data(), v.data(), y.data());
  expectNear(y, ref7);
  multiplyATv_csr(nullptr, 7, 5, r.start.data(), r.index.data(), r.val.data(), w.data(), z.data());
  expectNear(z, ref5);

  // Compressed columns hold the transpose's rows.
  const Compressed c(7, 5, a.row, a.col, a.val, true);
  multiplyAv_csr(nullptr, 5, c.start.data(), c.index.data(), c.val.data(), w.data(), z.data());
  expectNear(z, ref5);

  // A'DA from the compressed rows, twice with different values: the second
  // pass must not see leftovers of the first.
  AtaPattern pat;
  const nnzint nAta = getNnzATA_CSR(7, 5, r.start.data(), r.index.data(), &pat);
  std::vector<double> ata(static_cast<size_t>(nAta)), d(7);
  for (int pass = 0; pass < 2; ++pass) {
    for (int i = 0; i < 7; ++i) d[i] = pass + 0.5 + i;
    compressedCopyValues(nnz, r.perm.data(), a.val.data(), r.val.data());
    for (double &x : r.val) x *= 1 + pass;
    multiplyATA_CSR(7, r.start.data(), r.index.data(), r.val.data(), d.data(), pat, ata.data());
    for (int j = 0; j < 5; ++j) {
      EXPECT_TRUE(indicesAreOrdered(pat.start[j + 1] - pat.start[j], pat.col.data() + pat.start[j]));
      for (nnzint p = pat.start[j]; p < pat.start[j + 1]; ++p) {
        double ref = 0.0;
        for (int i = 0; i < 7; ++i)
          ref += a.dense[i * 5 + j] * d[i] * a.dense[i * 5 + pat.col[p]] * (1 + pass) * (1 + pass);
        EXPECT_NEAR(ata[p], ref, 1e-12) << j << "," << pat.col[p];
      }
    }
  }
}

TEST(SparseOps, SymmetricTriangleProductsAndViews) {
  std::mt19937 rng(23);
  KktCase k = kktRandom(rng, 6, 3, 0.5, false, 0.5);
  const nnzint nnz = static_cast<nnzint>(k.val.size());
  std::vector<double> v(k.n), y(k.n), ref(k.n, 0.0);
  for (int i = 0; i < k.n; ++i) v[i] = std::cos(i);
  for (int i = 0; i < k.n; ++i)
    for (int j = 0; j < k.n; ++j) ref[i] += k.dense[i + j * k.n] * v[j];
  multiplyHv(nullptr, k.n, nnz, k.row.data(), k.col.data(), k.val.data(), v.data(), y.data());
  expectNear(y, ref);
  multiplyHvAdd(nullptr, k.n, nnz, k.row.data(), k.col.data(), k.val.data(), v.data(), y.data());
  expectNear(y, ref, 2.0);

  // The upper triangle view gives the same product through compressed rows.
  std::vector<int> ur = k.row, uc = k.col;
  extractUpperTriangleCoo(nnz, ur.data(), uc.data());
  for (nnzint e = 0; e < nnz; ++e) EXPECT_LE(ur[e], uc[e]);
  const Compressed u(k.n, k.n, ur, uc, k.val);
  multiplyHv_csr(nullptr, k.n, u.start.data(), u.index.data(), u.val.data(), v.data(), y.data());
  expectNear(y, ref);

  // Both triangles: a plain product gives H v.
  std::vector<int> fr, fc;
  const nnzint full = triToFullStructure(nnz, k.row.data(), k.col.data(), fr, fc);
  std::vector<double> fv(static_cast<size_t>(full));
  triToFullValues(nnz, k.row.data(), k.col.data(), k.val.data(), fv.data());
  multiplyAv(nullptr, k.n, full, fr.data(), fc.data(), fv.data(), v.data(), y.data());
  expectNear(y, ref);

  // H (lower) + H (given as upper) + I: entries merge where patterns meet.
  std::vector<int> diag(k.n);
  for (int i = 0; i < k.n; ++i) diag[i] = i;
  std::vector<double> ones(k.n, 1.0);
  SymSumPattern sum;
  const nnzint nsum = getNnzAplusBsym(k.n, nnz, k.row.data(), k.col.data(), nnz, ur.data(),
                                      uc.data(), &sum);
  SymSumPattern sum2;
  getNnzAplusBsym(k.n, nsum, sum.row.data(), sum.col.data(), k.n, diag.data(), diag.data(), &sum2);
  std::vector<double> sv(static_cast<size_t>(nsum)), sv2(sum2.row.size());
  addAplusBsym(sum, k.val.data(), k.val.data(), sv.data());
  addAplusBsym(sum2, sv.data(), ones.data(), sv2.data());
  EXPECT_LE(static_cast<size_t>(nsum), static_cast<size_t>(nnz));
  multiplyHv(nullptr, k.n, static_cast<nnzint>(sv2.size()), sum2.row.data(), sum2.col.data(),
             sv2.data(), v.data(), y.data());
  expectNear(y, ref, 2.0, v);
}

namespace {

struct SqmrProblem {
  const KktCase *k;
  LinSystem *exact;  // preconditioner by an exact factor, if set
};

void sqmrApply(void *user, const double *x, double *y) {
  const KktCase &k = *static_cast<SqmrProblem *>(user)->k;
  multiplyHv(nullptr, k.n, static_cast<nnzint>(k.val.size()), k.row.data(), k.col.data(),
             k.val.data(), x, y);
}

void sqmrExactInverse(void *user, const double *x, double *y) {
  LinSystem &sys = *static_cast<SqmrProblem *>(user)->exact;
  std::copy(x, x + sys.n, y);
  linSolve(sys, y);
}

void swapOperator(void *, const double *x, double *y) {
  y[0] = x[1];
  y[1] = x[0];
}

void identityOperator(void *, const double *x, double *y) { std::copy(x, x + 2, y); }

}  // namespace

TEST(Sqmr, SolvesIndefiniteSystemsAndReportsBreakdowns) {
  std::mt19937 rng(31);
  KktCase k;
  do k = kktRandom(rng, 20, 8, 0.0, false, 0.3);
  while (kktInertia(k, 1e-11).gap < 1e-4);
  std::vector<double> b(k.n), x(k.n, 0.0);
  for (int i = 0; i < k.n; ++i) b[i] = std::sin(1.0 + i);
  SqmrParams p;
  sqmr_set_defaults(&p);
  p.atol = 1e-8;
  p.maxit = 500;
  SqmrProblem prob{&k, nullptr};
  SqmrInfo info;
  CaptureContext cc;
  ASSERT_EQ(sqmr_solve(cc.ctx, p, k.n, sqmrApply, nullptr, &prob, b.data(), x.data(), &info),
            SQMR_CONVERGED);
  EXPECT_LE(info.residual, 1e-8);
  EXPECT_GT(info.iterations, 1);
  EXPECT_EQ(cc.take(), "");

  // With the exact inverse as preconditioner one step suffices.
  LinSystem exact;
  ASSERT_EQ(linAnalyze(exact, LIN_ENGINE_DENSE, LinSettings(), k.n,
                       static_cast<nnzint>(k.row.size()), k.row.data(), k.col.data()), LIN_OK);
  ASSERT_EQ(linFactor(exact, k.val.data()).status, LIN_OK);
  prob.exact = &exact;
  std::fill(x.begin(), x.end(), 0.0);
  p.printLevel = 1;
  ASSERT_EQ(sqmr_solve(cc.ctx, p, k.n, sqmrApply, sqmrExactInverse, &prob, b.data(), x.data(),
                       &info), SQMR_CONVERGED);
  EXPECT_EQ(info.iterations, 1);
  EXPECT_EQ(cc.take().rfind("SQMR: rnorm = tnorm = ", 0), 0u);

  // q' A q = 0 at the first step, and r' M^{-1} r = 0 at the start.
  const double b2[] = {1.0, 0.0};
  double x2[] = {0.0, 0.0};
  p.printLevel = 0;
  EXPECT_EQ(sqmr_solve(cc.ctx, p, 2, swapOperator, nullptr, nullptr, b2, x2, &info),
            SQMR_SIGMA_BREAKDOWN);
  EXPECT_EQ(cc.take(), "SQMR: sigma = 0.000000e+00 below sigma_tiny = 1.000000e-20\n");
  EXPECT_EQ(sqmr_solve(cc.ctx, p, 2, identityOperator, swapOperator, nullptr, b2, x2, &info),
            SQMR_RHO_BREAKDOWN);
  EXPECT_EQ(cc.take(), "SQMR: rho = 0.000000e+00 below rho_tiny = 1.000000e-20\n");
}
