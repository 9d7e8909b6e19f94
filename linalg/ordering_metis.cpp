// Nested-dissection ordering computed with METIS on the adjacency graph of a
// symmetric pattern, for engines that take a user permutation.
#include <algorithm>
#include <vector>

#include <metis.h>

#include "linalg/engine.h"

// Builds the adjacency structure (CSR, no self loops, no duplicates) of the
// graph of a pattern given by one triangle.
static void metisGraph(int n, nnzint nnz, const int *row, const int *col,
                       std::vector<idx_t> &xadj, std::vector<idx_t> &adj) {
  std::vector<idx_t> deg(static_cast<size_t>(n) + 1, 0);
  for (nnzint k = 0; k < nnz; ++k)
    if (row[k] != col[k]) {
      ++deg[static_cast<size_t>(row[k])];
      ++deg[static_cast<size_t>(col[k])];
    }
  xadj.assign(static_cast<size_t>(n) + 1, 0);
  for (int i = 0; i < n; ++i) xadj[i + 1] = xadj[i] + deg[i];
  adj.resize(static_cast<size_t>(xadj[n]));
  std::vector<idx_t> fill(xadj.begin(), xadj.end() - 1);
  for (nnzint k = 0; k < nnz; ++k)
    if (row[k] != col[k]) {
      adj[fill[row[k]]++] = col[k];
      adj[fill[col[k]]++] = row[k];
    }
  // Sort and drop duplicate edges in place, compacting the lists.
  idx_t out = 0;
  for (int i = 0; i < n; ++i) {
    auto b = adj.begin() + xadj[i], e = adj.begin() + xadj[i + 1];
    std::sort(b, e);
    auto last = std::unique(b, e);
    const idx_t start = out;
    for (auto it = b; it != last; ++it) adj[out++] = *it;
    xadj[i] = start;
  }
  xadj[n] = out;
  adj.resize(static_cast<size_t>(out));
}

std::vector<int> metisOrdering(int n, nnzint nnz, const int *row, const int *col) {
  std::vector<int> position;
  if (n <= 0) return position;
  std::vector<idx_t> xadj, adj;
  metisGraph(n, nnz, row, col, xadj, adj);
  idx_t nv = n;
  std::vector<idx_t> perm(static_cast<size_t>(n)), iperm(static_cast<size_t>(n));
  idx_t options[METIS_NOPTIONS];
  METIS_SetDefaultOptions(options);
  options[METIS_OPTION_NUMBERING] = 0;
  // METIS rejects a graph without edges; the identity is optimal there.
  if (adj.empty()) {
    for (int i = 0; i < n; ++i) position.push_back(i);
    return position;
  }
  if (METIS_NodeND(&nv, xadj.data(), adj.data(), nullptr, options, perm.data(), iperm.data()) !=
      METIS_OK)
    return position;
  position.assign(iperm.begin(), iperm.end());
  return position;
}
