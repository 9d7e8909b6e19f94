// Factor-plus-solve time of KKT matrices [H A^T; A 0] for each engine, from
// 10 to 100,000 rows. H is the 5-point Laplacian of a square grid, A has
// four entries per row on neighbouring grid points. Prints a Markdown table and the size at which the
// sparse engine overtakes the dense one. The last column is the sparse
// LDL^T without pivoting, which keeps the factors with little fill and hands
// the others to the multifrontal engine.
//
// Usage: bench_linalg [max_rows] [dense_max_rows]
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "linalg/engine.h"

namespace {

struct Kkt {
  int n = 0, m = 0;
  std::vector<int> row, col;
  std::vector<double> val;
};

Kkt makeKkt(int rows) {
  Kkt k;
  const int g = std::max(2, static_cast<int>(std::ceil(std::sqrt(0.75 * rows))));
  const int nh = g * g;
  k.m = std::min(nh, std::max(1, rows - nh));
  k.n = nh + k.m;
  auto add = [&](int i, int j, double v) {
    k.row.push_back(std::max(i, j));
    k.col.push_back(std::min(i, j));
    k.val.push_back(v);
  };
  for (int i = 0; i < g; ++i)
    for (int j = 0; j < g; ++j) {
      const int v = i * g + j;
      add(v, v, 4.0);
      if (j + 1 < g) add(v + 1, v, -1.0);
      if (i + 1 < g) add(v + g, v, -1.0);
    }
  // Each row of A couples a few neighbouring grid points, as discretised
  // constraints do; distinct leading entries keep A of full rank.
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> u(0.5, 1.5);
  for (int r = 0; r < k.m; ++r) {
    const int v = static_cast<int>(static_cast<long>(r) * nh / k.m);
    add(nh + r, v, u(rng));
    if (v + 1 < nh) add(nh + r, v + 1, u(rng));
    if (v + g < nh) add(nh + r, v + g, u(rng));
    if (v + g + 1 < nh) add(nh + r, v + g + 1, u(rng));
  }
  return k;
}

// Seconds for analysis + factorization + one solve, best of `reps`; with
// `refactorOnly` the analysis runs once outside the clock, as in an
// interior-point loop that factors one pattern again and again.
double timeEngine(const Kkt &k, LinEngineKind kind, int ordering, int reps, int *negEig, bool refactorOnly = false) {
  LinSettings s;
  s.ordering = ordering;
  std::vector<double> b(static_cast<size_t>(k.n), 1.0);
  double best = 1e300;
  LinSystem kept;
  const auto analyze = [&](LinSystem &sys) {
    return linAnalyze(sys, kind, s, k.n, static_cast<nnzint>(k.row.size()), k.row.data(), k.col.data()) == LIN_OK;
  };
  if (refactorOnly && !analyze(kept)) return -1.0;
  for (int r = 0; r < reps; ++r) {
    auto t0 = std::chrono::steady_clock::now();
    LinSystem fresh;
    LinSystem &sys = refactorOnly ? kept : fresh;
    if (!refactorOnly && !analyze(sys)) return -1.0;
    LinFactorInfo info = linFactor(sys, k.val.data());
    std::vector<double> x = b;
    if (info.status != LIN_OK || linSolve(sys, x.data()) != LIN_OK) return -1.0;
    auto t1 = std::chrono::steady_clock::now();
    *negEig = info.negEig;
    best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
  }
  return best;
}

void cell(double t) {
  if (t < 0)
    std::printf(" | -");
  else
    std::printf(" | %.3g", t * 1e3);
}

}  // namespace

int main(int argc, char **argv) {
  const int maxRows = argc > 1 ? std::atoi(argv[1]) : 100000;
  const int denseMax = argc > 2 ? std::atoi(argv[2]) : 3000;
  const int sizes[] = {10, 20, 30, 50, 75, 100, 150, 200, 250, 300, 400, 500, 700, 1000, 2000, 3000,
                       5000, 10000, 20000, 50000, 100000};
  std::printf("| rows | nonzeros | dense LDL^T (ms) | sparse AMD (ms) | sparse METIS (ms) | sparse auto (ms) |"
              " dense refactor (ms) | sparse auto refactor (ms) | sparse LDL^T refactor (ms) |\n");
  std::printf("|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
  int crossover = -1, refactorCrossover = -1;
  for (int rows : sizes) {
    if (rows > maxRows) break;
    const Kkt k = makeKkt(rows);
    const int reps = k.n <= 1000 ? 20 : (k.n <= 10000 ? 3 : 1);
    int neg[4] = {-1, -1, -1, -1};
    const double dense = k.n <= denseMax ? timeEngine(k, LIN_ENGINE_DENSE, LIN_ORDER_AUTO, reps, &neg[0]) : -1.0;
    const double amd = timeEngine(k, LIN_ENGINE_MUMPS, LIN_ORDER_AMD, reps, &neg[1]);
    const double metis = timeEngine(k, LIN_ENGINE_MUMPS, LIN_ORDER_METIS, reps, &neg[2]);
    const double autom = timeEngine(k, LIN_ENGINE_MUMPS, LIN_ORDER_AUTO, reps, &neg[3]);
    for (int e = 0; e < 4; ++e)
      if (neg[e] >= 0 && neg[e] != k.m) std::fprintf(stderr, "rows %d engine %d: inertia %d, expected %d\n", k.n, e, neg[e], k.m);
    std::printf("| %d | %zu", k.n, k.row.size());
    cell(dense);
    cell(amd);
    cell(metis);
    cell(autom);
    const double denseRe = k.n <= denseMax ? timeEngine(k, LIN_ENGINE_DENSE, LIN_ORDER_AUTO, reps, &neg[0], true) : -1.0;
    const double autoRe = timeEngine(k, LIN_ENGINE_MUMPS, LIN_ORDER_AUTO, reps, &neg[3], true);
    cell(denseRe);
    cell(autoRe);
    // The engine the dispatcher picks above the dense range; it hands the
    // grid's larger factors to the multifrontal engine.
    int negLdl = -1;
    const double ldlRe = timeEngine(k, LIN_ENGINE_LDL, LIN_ORDER_AUTO, reps, &negLdl, true);
    if (negLdl >= 0 && negLdl != k.m) std::fprintf(stderr, "rows %d LDL^T: inertia %d, expected %d\n", k.n, negLdl, k.m);
    cell(ldlRe);
    std::printf(" |\n");
    std::fflush(stdout);
    const double sparse = std::min(amd, std::min(metis < 0 ? 1e300 : metis, autom));
    if (dense >= 0 && dense <= sparse) crossover = k.n;
    if (denseRe >= 0 && denseRe <= autoRe) refactorCrossover = k.n;
  }
  std::printf("\nLargest size where the dense engine is at least as fast: %d rows\n", crossover);
  std::printf("Same, when the analysis is reused (what each barrier iteration pays): %d rows\n", refactorCrossover);
  return 0;
}
