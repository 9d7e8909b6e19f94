// The registry of the test problems.
#include <cstring>

#include "hs/hs_problems.h"

const std::vector<HsProblem> &hsProblems() {
  static const std::vector<HsProblem> all = [] {
    std::vector<HsProblem> v;
    hsAddProblems1to30(v);
    hsAddProblems31to60(v);
    hsAddProblems61to119(v);
    return v;
  }();
  return all;
}

const HsProblem *hsFind(const char *name) {
  for (const HsProblem &p : hsProblems())
    if (std::strcmp(p.name, name) == 0) return &p;
  return nullptr;
}
