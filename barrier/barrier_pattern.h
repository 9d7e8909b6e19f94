// Coordinate patterns of the barrier's linear systems: every contribution
// to the matrix gets an id, equal coordinates merge, and the ids turn into
// positions in the value array, so that forming a matrix is one pass.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

struct BarEntry {
  int64_t key;  // row * dim + col, lower triangle
  int64_t id;   // contribution number
};

struct BarPatternBuilder {
  std::vector<BarEntry> entries;
  int dim = 0;
  int64_t next = 0;
  int64_t add(int i, int j) {
    if (i < j) std::swap(i, j);
    entries.push_back({static_cast<int64_t>(i) * dim + j, next});
    return next++;
  }
  // Merges equal coordinates into irn/jcn; returns id -> value position.
  std::vector<int64_t> compress(std::vector<int> &irn, std::vector<int> &jcn) {
    std::sort(entries.begin(), entries.end(), [](const BarEntry &a, const BarEntry &c) { return a.key < c.key; });
    std::vector<int64_t> where(static_cast<size_t>(next));
    irn.clear();
    jcn.clear();
    int64_t last = -1;
    for (const BarEntry &e : entries) {
      if (e.key != last) {
        irn.push_back(static_cast<int>(e.key / dim));
        jcn.push_back(static_cast<int>(e.key % dim));
        last = e.key;
      }
      where[e.id] = static_cast<int64_t>(irn.size()) - 1;
    }
    return where;
  }
};

// Positions of contributions (ids, -1 for none) turned into value positions.
inline void barRemap(const std::vector<int64_t> &where, std::vector<int64_t> &pos) {
  for (int64_t &p : pos)
    if (p >= 0) p = where[p];
}
