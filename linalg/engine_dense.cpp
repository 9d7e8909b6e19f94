// Dense symmetric indefinite engine: LDL^T with Bunch-Kaufman pivoting
// (our own unblocked factor up to kDenseOwnMax rows, LAPACK's blocked one
// above). For small systems the fixed cost of a sparse engine dominates,
// and a dense factor is both faster and exact about inertia.
// The pivot threshold and scaling settings do not apply: Bunch-Kaufman uses
// its own fixed pivot rule.
#include <algorithm>
#include <cmath>
#include <new>

#include "linalg/blas_serial.h"
#include "linalg/dense_bk.h"
#include "linalg/engine.h"
#include "linalg/lapack.h"

namespace {
// Up to this order the unblocked factor is as fast as LAPACK's (which is
// unblocked there too), and a small model never loads the library.
constexpr int kDenseOwnMax = 64;
}  // namespace

struct LinDenseState {
  std::vector<double> a;   // lower triangle, column-major n x n
  std::vector<int> ipiv;
  std::vector<double> work;
};


int denseAnalyze(LinSystem &sys) {
  sys.dense.reset(new LinDenseState);
  const size_t n = static_cast<size_t>(sys.n);
  sys.dense->a.resize(n * n);
  sys.dense->ipiv.resize(n);
  sys.lastOrdering = LIN_ORDER_AUTO;
  return LIN_OK;
}

static void denseScatter(const LinSystem &sys, std::vector<double> &a) {
  const size_t n = static_cast<size_t>(sys.n);
  std::fill(a.begin(), a.end(), 0.0);
  for (size_t k = 0; k < sys.val.size(); ++k) {
    size_t i = static_cast<size_t>(sys.row[k]), j = static_cast<size_t>(sys.col[k]);
    if (i < j) std::swap(i, j);
    a[i + j * n] += sys.val[k];
  }
}

// Counts the negative and null eigenvalues of the block diagonal D left by
// dsytrf. A 2x2 block has eigenvalues mean +- radius.
static void denseInertia(const LinSystem &sys, LinFactorInfo &info) {
  const LinDenseState &d = *sys.dense;
  const int n = sys.n;
  const size_t ld = static_cast<size_t>(n);
  const double tol = sys.settings.nullPivotTol * std::max(sys.maxAbs, 1e-300);
  auto count = [&](double lambda) {
    if (std::fabs(lambda) <= tol)
      ++info.nullPivots;
    else if (lambda < 0.0)
      ++info.negEig;
  };
  for (int k = 0; k < n; ++k) {
    const double a = d.a[k + k * ld];
    if (d.ipiv[k] > 0 || k + 1 >= n) {
      count(a);
      continue;
    }
    const double b = d.a[(k + 1) + k * ld], c = d.a[(k + 1) + (k + 1) * ld];
    // The larger eigenvalue from mean and radius; the smaller from the
    // determinant, since mean - radius cancels when the two differ by
    // orders of magnitude and would lose its sign.
    const double mean = 0.5 * (a + c), radius = std::hypot(0.5 * (a - c), b);
    const double big = mean >= 0.0 ? mean + radius : mean - radius;
    const double det = a * c - b * b;
    count(big);
    count(big != 0.0 ? det / big : 0.0);
    ++k;
  }
}

LinFactorInfo denseFactor(LinSystem &sys) {
  LinFactorInfo info;
  LinDenseState &d = *sys.dense;
  denseScatter(sys, d.a);
  const int n = sys.n;
  if (n == 0) return info;
  int st = 0;
  if (n <= kDenseOwnMax) {
    st = denseBKFactor(n, d.a.data(), n, d.ipiv.data());
  } else {
    SerialBlasScope serial;
    double query = 0.0;
    lapackDsytrf("L", n, d.a.data(), n, d.ipiv.data(), &query, -1, &st);
    const int lwork = std::max(1, static_cast<int>(query));
    d.work.resize(static_cast<size_t>(lwork));
    if (st == 0) lapackDsytrf("L", n, d.a.data(), n, d.ipiv.data(), d.work.data(), lwork, &st);
  }
  // st > 0 reports an exactly zero pivot; the inertia count sees it as null.
  if (st < 0) {
    info.status = LIN_ERR_ENGINE;
    return info;
  }
  denseInertia(sys, info);
  return info;
}

int denseSolve(LinSystem &sys, double *rhs) {
  const int n = sys.n;
  if (n == 0) return LIN_OK;
  const LinDenseState &d = *sys.dense;
  if (n <= kDenseOwnMax) {
    denseBKSolve(n, d.a.data(), n, d.ipiv.data(), rhs);
    return LIN_OK;
  }
  int st = 0;
  SerialBlasScope serial;
  lapackDsytrs("L", n, 1, d.a.data(), n, d.ipiv.data(), rhs, n, &st);
  return st == 0 ? LIN_OK : LIN_ERR_ENGINE;
}

void denseRelease(LinSystem &sys) { sys.dense.reset(); }
void LinDenseDeleter::operator()(LinDenseState *p) const { delete p; }
