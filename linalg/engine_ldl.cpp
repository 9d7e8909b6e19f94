// Sparse LDL^T without pivoting, for the systems whose factor has little
// fill. On such a system the multifrontal engine spends far more on its
// bookkeeping than on the elimination: a KKT matrix of 10,000 rows with a
// diagonal Hessian and two dense rows took it 21 ms to factor and 4.5 ms
// to solve, where the elimination itself is a few hundred microseconds.
//
// The rows are ordered by nested dissection once; the factor follows row
// by row (each row of L a sparse triangular solve along the elimination
// tree), so that a factorization costs its operations and no more.
//
// Without pivoting the factor is only trusted where it is plainly stable.
// A pivot that is null against the matrix, or that is what is left of a
// cancellation of ten digits or more, hands the factorization to a
// pivoting engine (the dense one up to LIN_DENSE_MAX_ROWS rows, the
// multifrontal one above), which also tells true singularity from a poor
// order; after five such hand-overs the system stays there. A factor whose
// operation count makes that engine, with its dense kernels, the faster
// one goes there at once.
#include <algorithm>
#include <cmath>
#include <new>

#include "linalg/engine.h"
#include "linalg/sparse_ops.h"

struct LinLdlState {
  std::vector<int> perm, pinv;  // perm[k]: row at place k; pinv: its inverse
  // Upper triangle of P A P' by columns, with where each input entry adds.
  std::vector<nnzint> ap;
  std::vector<int> ai;
  std::vector<double> ax;
  std::vector<nnzint> entryPos;
  // Elimination tree and the factor: L by columns (unit diagonal, not
  // stored), D its pivots.
  std::vector<int> parent, lnz;
  std::vector<nnzint> lp;
  std::vector<int> li;
  std::vector<double> lx, d;
  // Work of the numeric phase.
  std::vector<int> flag, pattern;
  std::vector<double> y, diagWork, rowMaxWork;
  std::vector<int> firstWork, adj;
  std::vector<nnzint> adjPtr;
  std::vector<char> takenWork, zeroRows;
  double flops = 0.0;
  // A factor the engine did not trust is taken by the fallback engine
  // (viaFallback); after a few such factors the system stays there.
  bool viaFallback = false;
  bool weakRows = false;     // weak diagonals are placed too
  bool weakGivenUp = false;  // their placement cost too much fill here
  std::vector<int> basePosition;  // the nested-dissection order
  int failures = 0;
};

void LinLdlDeleter::operator()(LinLdlState *p) const { delete p; }

namespace {

// A diagonal this small against the rest of its row is as good as zero for
// the order: first among its neighbours, its row (an equality row, or an
// inequality whose slack has gone to zero) adds entries of a^2 / d to them
// whose cancellation later takes all the digits.
constexpr double kWeakDiagonal = 1e-6;
// A weak row goes behind all its neighbours only when they are few: behind
// many (the rows of an LP) it costs more fill than the hand-over it saves.
constexpr nnzint kBehindAllSpan = 8;

// Operations of elimination above which another engine wins: on small
// systems the dense one once the factor is a tenth as costly as a dense
// factor (its kernels are that much faster per operation), on larger ones
// the multifrontal one, whose overhead per row dense kernels pay back once
// the fronts grow.
bool ldlTooCostly(const LinLdlState &s, int n) {
  const double rows = n;
  return n <= LIN_DENSE_MAX_ROWS ? s.flops > rows * rows * rows / 30.0 : s.flops > 1e6 + 2000.0 * rows;
}

// The engine that takes what this one does not.
LinEngineKind ldlFallbackKind(const LinSystem &sys) {
  return sys.n <= LIN_DENSE_MAX_ROWS ? LIN_ENGINE_DENSE : LIN_ENGINE_MUMPS;
}

// metis: the nested-dissection order this engine computed, which the
// multifrontal engine takes instead of computing it again.
int ldlFallbackAnalyze(LinSystem &sys, const std::vector<int> *metis = nullptr) {
  return ldlFallbackKind(sys) == LIN_ENGINE_DENSE ? denseAnalyze(sys) : mumpsAnalyze(sys, metis);
}

// The upper triangle of P A P' by columns, duplicates merged, and the
// place of each input entry in it.
void ldlPermutedPattern(const LinSystem &sys, LinLdlState &s) {
  const int n = sys.n;
  const size_t nnz = sys.row.size();
  std::vector<int> upper(nnz), column(nnz), index(nnz);
  for (size_t k = 0; k < nnz; ++k) {
    const int a = s.pinv[sys.row[k]], b = s.pinv[sys.col[k]];
    upper[k] = std::min(a, b);
    column[k] = std::max(a, b);
  }
  std::vector<nnzint> start(static_cast<size_t>(n) + 1), place(nnz);
  coordinateToCCS(nullptr, n, n, static_cast<nnzint>(nnz), upper.data(), column.data(), start.data(),
                  index.data(), place.data());
  // Rows come in ascending order inside a column: duplicates are neighbours.
  std::vector<nnzint> merged(nnz);
  s.ap.assign(static_cast<size_t>(n) + 1, 0);
  s.ai.clear();
  for (int j = 0; j < n; ++j) {
    for (nnzint p = start[j]; p < start[j + 1]; ++p) {
      if (s.ai.size() == static_cast<size_t>(s.ap[j]) || s.ai.back() != index[p]) s.ai.push_back(index[p]);
      merged[p] = static_cast<nnzint>(s.ai.size()) - 1;
    }
    s.ap[j + 1] = static_cast<nnzint>(s.ai.size());
  }
  s.entryPos.resize(nnz);
  for (size_t k = 0; k < nnz; ++k) s.entryPos[k] = merged[place[k]];
  s.ax.assign(s.ai.size(), 0.0);
}

// Elimination tree, column counts of L and the operation count.
void ldlSymbolic(int n, LinLdlState &s) {
  s.parent.assign(static_cast<size_t>(n), -1);
  s.lnz.assign(static_cast<size_t>(n), 0);
  s.flag.assign(static_cast<size_t>(n), -1);
  for (int k = 0; k < n; ++k) {
    s.flag[k] = k;
    for (nnzint p = s.ap[k]; p < s.ap[k + 1]; ++p) {
      for (int i = s.ai[p]; i < k && s.flag[i] != k; i = s.parent[i]) {
        if (s.parent[i] == -1) s.parent[i] = k;
        ++s.lnz[i];
        s.flag[i] = k;
      }
    }
  }
  s.lp.assign(static_cast<size_t>(n) + 1, 0);
  s.flops = 0.0;
  for (int k = 0; k < n; ++k) {
    s.lp[k + 1] = s.lp[k] + s.lnz[k];
    const double c = s.lnz[k];
    s.flops += c * c + c;
  }
  s.li.assign(static_cast<size_t>(s.lp[n]), 0);
  s.lx.assign(static_cast<size_t>(s.lp[n]), 0.0);
  s.d.assign(static_cast<size_t>(n), 0.0);
  s.y.assign(static_cast<size_t>(n), 0.0);
  s.pattern.assign(static_cast<size_t>(n), 0);
}

int ldlOrderAndAnalyse(LinSystem &sys, LinLdlState &s, std::vector<int> position) {
  const int n = sys.n;
  if (static_cast<int>(position.size()) != n) {
    position.resize(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) position[i] = i;
  }
  s.pinv = std::move(position);
  s.perm.assign(static_cast<size_t>(n), 0);
  for (int i = 0; i < n; ++i) s.perm[s.pinv[i]] = i;
  ldlPermutedPattern(sys, s);
  ldlSymbolic(n, s);
  return LIN_OK;
}

// A row whose diagonal is zero (an equality row of a KKT matrix) needs a
// neighbour of its own eliminated before it: first in the order, its pivot
// would be exactly zero, and so it is when the only neighbours before it
// already serve other such rows. So each such row, in order, takes the
// first of its neighbours that no earlier one took, and moves to just
// after it when that neighbour comes later; a row whose neighbours are all
// taken moves to just after the last of them. A row whose diagonal is not
// zero but weak (an inequality whose slack has gone to zero) moves behind
// all its neighbours: behind one, the rows of its neighbourhood that went
// before it took what its pivot is made of, and it cancelled to rounding
// (the active rows of liswet1). Which diagonals are zero or weak depends on
// the values (a row shift may come and go, slacks close), so this is
// checked at each factorization, in one pass over the entries.
// Whether the rows with a zero diagonal are the ones the order was last
// placed for (the placement is not idempotent: run again on its own result
// it may move rows once more, and each move costs a symbolic analysis).
bool ldlZeroRowsKnown(const LinSystem &sys, LinLdlState &s) {
  const int n = sys.n;
  s.diagWork.assign(static_cast<size_t>(n), 0.0);
  // The row maxima only matter once weak rows are placed.
  s.rowMaxWork.assign(s.weakRows ? static_cast<size_t>(n) : 0, 0.0);
  for (size_t k = 0; k < sys.row.size(); ++k) {
    const int i = sys.row[k], j = sys.col[k];
    if (i == j) {
      s.diagWork[i] += sys.val[k];
    } else if (s.weakRows) {
      const double a = std::fabs(sys.val[k]);
      s.rowMaxWork[i] = std::max(s.rowMaxWork[i], a);
      s.rowMaxWork[j] = std::max(s.rowMaxWork[j], a);
    }
  }
  bool same = s.zeroRows.size() == static_cast<size_t>(n);
  s.zeroRows.resize(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double d = std::fabs(s.diagWork[i]);
    const char zero = d == 0.0 || (s.weakRows && d <= kWeakDiagonal * s.rowMaxWork[i]) ? 1 : 0;
    same = same && s.zeroRows[i] == zero;
    s.zeroRows[i] = zero;
  }
  return same;
}

void ldlAdjacency(const LinSystem &sys, LinLdlState &s) {
  const int n = sys.n;
  s.adjPtr.assign(static_cast<size_t>(n) + 1, 0);
  for (size_t k = 0; k < sys.row.size(); ++k) {
    const int i = sys.row[k], j = sys.col[k];
    if (i != j && sys.val[k] != 0.0) {
      ++s.adjPtr[i + 1];
      ++s.adjPtr[j + 1];
    }
  }
  for (int i = 0; i < n; ++i) s.adjPtr[i + 1] += s.adjPtr[i];
  s.adj.resize(static_cast<size_t>(s.adjPtr[n]));
  s.firstWork.assign(s.adjPtr.begin(), s.adjPtr.end() - 1);
  for (size_t k = 0; k < sys.row.size(); ++k) {
    const int i = sys.row[k], j = sys.col[k];
    if (i == j || sys.val[k] == 0.0) continue;
    s.adj[static_cast<size_t>(s.firstWork[i]++)] = j;
    s.adj[static_cast<size_t>(s.firstWork[j]++)] = i;
  }
}

// The place each zero-diagonal row must follow (-1: where it is).
bool ldlZeroRowTargets(LinLdlState &s, int n, std::vector<int> &target) {
  std::vector<char> &taken = s.takenWork;
  taken.assign(static_cast<size_t>(n), 0);
  target.assign(static_cast<size_t>(n), -1);
  bool any = false;
  for (int k = 0; k < n; ++k) {
    const int z = s.perm[k];
    if (!s.zeroRows[z] || s.adjPtr[z] == s.adjPtr[z + 1]) continue;
    int mine = -1, last = -1;
    for (nnzint p = s.adjPtr[z]; p < s.adjPtr[z + 1]; ++p) {
      const int v = s.adj[p];
      last = std::max(last, s.pinv[v]);
      if (!taken[v] && (mine < 0 || s.pinv[v] < s.pinv[mine])) mine = v;
    }
    taken[z] = 1;
    if (mine >= 0) taken[mine] = 1;
    const bool behindAll = s.diagWork[z] != 0.0 && s.adjPtr[z + 1] - s.adjPtr[z] <= kBehindAllSpan;
    const int after = behindAll || mine < 0 ? last : s.pinv[mine];
    if (after > k) {
      target[z] = after;
      any = true;
    }
  }
  return any;
}

bool ldlDelayZeroDiagonals(LinSystem &sys, LinLdlState &s) {
  const int n = sys.n;
  if (ldlZeroRowsKnown(sys, s)) return false;
  ldlAdjacency(sys, s);
  std::vector<int> &target = s.firstWork;
  if (!ldlZeroRowTargets(s, n, target)) return false;
  // Stable: every other row keeps its relative place.
  std::vector<std::pair<int, int>> moved;
  for (int i = 0; i < n; ++i)
    if (target[i] >= 0) moved.push_back({target[i], s.pinv[i]});
  std::sort(moved.begin(), moved.end());
  std::vector<int> position(static_cast<size_t>(n));
  int next = 0;
  size_t m = 0;
  for (int k = 0; k < n; ++k) {
    const int v = s.perm[k];
    if (target[v] < 0) position[v] = next++;
    for (; m < moved.size() && moved[m].first == k; ++m) position[s.perm[moved[m].second]] = next++;
  }
  ldlOrderAndAnalyse(sys, s, std::move(position));
  return true;
}

// Row k of L and the pivot d_k. Returns false when the pivot cannot be
// trusted without pivoting.
bool ldlRow(LinLdlState &s, int k, int n, double nullTol) {
  int top = n;
  s.flag[k] = k;
  s.lnz[k] = 0;
  double scale = 0.0;
  for (nnzint p = s.ap[k]; p < s.ap[k + 1]; ++p) {
    int i = s.ai[p];
    s.y[i] += s.ax[p];
    int len = 0;
    for (; s.flag[i] != k; i = s.parent[i]) {
      s.pattern[len++] = i;
      s.flag[i] = k;
    }
    while (len > 0) s.pattern[--top] = s.pattern[--len];
  }
  double dk = s.y[k];
  scale = std::fabs(dk);
  s.y[k] = 0.0;
  for (; top < n; ++top) {
    const int i = s.pattern[top];
    const double yi = s.y[i];
    s.y[i] = 0.0;
    const nnzint end = s.lp[i] + s.lnz[i];
    for (nnzint p = s.lp[i]; p < end; ++p) s.y[s.li[p]] -= s.lx[p] * yi;
    const double lki = yi / s.d[i];
    const double t = lki * yi;
    dk -= t;
    scale = std::max(scale, std::fabs(t));
    s.li[end] = k;
    s.lx[end] = lki;
    ++s.lnz[i];
  }
  s.d[k] = dk;
  // Cancellation is harmless in a pivot that divides nothing after it (a
  // root of the elimination tree): its rounding is that of the entries.
  const bool root = s.parent[k] < 0;
  return std::isfinite(dk) && std::fabs(dk) > nullTol && (root || std::fabs(dk) > 1e-10 * scale);
}

// Numeric factorization; false when a pivot is not trusted.
bool ldlNumeric(LinSystem &sys, LinLdlState &s, LinFactorInfo &info) {
  const int n = sys.n;
  std::fill(s.ax.begin(), s.ax.end(), 0.0);
  for (size_t k = 0; k < sys.val.size(); ++k) s.ax[static_cast<size_t>(s.entryPos[k])] += sys.val[k];
  std::fill(s.flag.begin(), s.flag.end(), -1);
  const double nullTol = sys.settings.nullPivotTol * std::max(sys.maxAbs, 1e-300);
  info.negEig = 0;
  for (int k = 0; k < n; ++k) {
    if (!ldlRow(s, k, n, nullTol)) {
      std::fill(s.y.begin(), s.y.end(), 0.0);
      return false;
    }
    if (s.d[k] < 0.0) ++info.negEig;
  }
  return true;
}

// Back to the nested-dissection order with the zero rows placed, for good;
// false when even that factor is too costly.
bool ldlGiveUpWeakRows(LinSystem &sys, LinLdlState &s) {
  s.weakRows = false;
  s.weakGivenUp = true;
  s.zeroRows.clear();
  ldlOrderAndAnalyse(sys, s, s.basePosition);
  ldlDelayZeroDiagonals(sys, s);
  return !ldlTooCostly(s, sys.n);
}

// Places the rows of zero (and weak) diagonals; false when the factor is
// then too costly. Weak rows behind their neighbours can cost much fill:
// then they are given up.
bool ldlPlaceRows(LinSystem &sys, LinLdlState &s) {
  if (!ldlDelayZeroDiagonals(sys, s) || !ldlTooCostly(s, sys.n)) return true;
  return s.weakRows && ldlGiveUpWeakRows(sys, s);
}

// Gives this factorization to the fallback engine, analysing for it on the
// first time; the fifth time, the system stays with it for good.
LinFactorInfo ldlHandOver(LinSystem &sys, LinLdlState &s) {
  constexpr int kFailuresKept = 5;
  const LinEngineKind fallback = ldlFallbackKind(sys);
  LinFactorInfo info;
  if (!sys.mumps && !sys.dense) {
    info.status = ldlFallbackAnalyze(sys, &s.basePosition);
    if (info.status != LIN_OK) return info;
  }
  if (++s.failures >= kFailuresKept) {
    sys.kind = fallback;
    sys.ldl.reset();
  } else {
    s.viaFallback = true;
  }
  return fallback == LIN_ENGINE_DENSE ? denseFactor(sys) : mumpsFactor(sys);
}

}  // namespace

int ldlAnalyze(LinSystem &sys) {
  // An ordering the user chose (linsolver_ordering) is the multifrontal
  // engine's: this one orders by nested dissection only.
  if (sys.settings.ordering != LIN_ORDER_AUTO) {
    sys.kind = ldlFallbackKind(sys);
    return ldlFallbackAnalyze(sys);
  }
  LinLdlState *s = new (std::nothrow) LinLdlState;
  if (s == nullptr) return LIN_ERR_MEMORY;
  sys.ldl.reset(s);
  try {
    std::vector<int> position = metisOrdering(sys.n, static_cast<nnzint>(sys.row.size()), sys.row.data(),
                                              sys.col.data());
    s->basePosition = position;
    ldlOrderAndAnalyse(sys, *s, std::move(position));
  } catch (const std::bad_alloc &) {
    sys.ldl.reset();
    return LIN_ERR_MEMORY;
  }
  sys.lastOrdering = LIN_ORDER_METIS;
  if (!ldlTooCostly(*s, sys.n)) return LIN_OK;
  const std::vector<int> metis = std::move(s->basePosition);
  sys.ldl.reset();
  sys.kind = ldlFallbackKind(sys);
  return ldlFallbackAnalyze(sys, &metis);
}

LinFactorInfo ldlFactor(LinSystem &sys) {
  LinLdlState &s = *sys.ldl;
  LinFactorInfo info;
  s.viaFallback = false;
  try {
    if (!ldlPlaceRows(sys, s)) s.failures = 4;
    if (s.failures >= 4) return ldlHandOver(sys, s);
    if (ldlNumeric(sys, s, info)) return info;
    // Weak rows placed and a pivot failing all the same: they do not help
    // this system.
    if (s.weakRows && !ldlGiveUpWeakRows(sys, s)) s.failures = 4;
    if (s.weakGivenUp) return ldlHandOver(sys, s);
    // The first failure places the rows of weak diagonals too, from then
    // on: their placement follows the slacks, and a system that never needs
    // it does not pay for the analyses.
    s.weakRows = true;
    s.zeroRows.clear();
    const bool placed = ldlPlaceRows(sys, s);
    if (placed && s.weakRows && ldlNumeric(sys, s, info)) return info;
    if (!placed || (s.weakRows && !ldlGiveUpWeakRows(sys, s))) s.failures = 4;
    return ldlHandOver(sys, s);
  } catch (const std::bad_alloc &) {
    info.status = LIN_ERR_MEMORY;
  }
  return info;
}

int ldlSolve(LinSystem &sys, double *rhs) {
  LinLdlState &s = *sys.ldl;
  if (s.viaFallback) return sys.dense ? denseSolve(sys, rhs) : mumpsSolve(sys, rhs);
  const int n = sys.n;
  double *x = s.y.data();
  for (int k = 0; k < n; ++k) x[k] = rhs[s.perm[k]];
  for (int j = 0; j < n; ++j) {
    const double xj = x[j];
    for (nnzint p = s.lp[j]; p < s.lp[j] + s.lnz[j]; ++p) x[s.li[p]] -= s.lx[p] * xj;
  }
  for (int j = 0; j < n; ++j) x[j] /= s.d[j];
  for (int j = n - 1; j >= 0; --j) {
    double xj = x[j];
    for (nnzint p = s.lp[j]; p < s.lp[j] + s.lnz[j]; ++p) xj -= s.lx[p] * x[s.li[p]];
    x[j] = xj;
  }
  for (int k = 0; k < n; ++k) {
    rhs[s.perm[k]] = x[k];
    x[k] = 0.0;
  }
  return LIN_OK;
}

void ldlRelease(LinSystem &sys) { sys.ldl.reset(); }
