// Quasi-Newton replacements of the Hessian of the Lagrangian: dense BFGS
// and SR1 (hessopt 2, 3) stored as the values of a dense upper-triangle
// pattern, and limited-memory BFGS (hessopt 6) whose low-rank part is
// applied around the factor of the step system.
#pragma once

#include <vector>

struct BarQN {
  int kind = 1;                  // the resolved hessopt
  int n = 0;
  std::vector<int> patI, patJ;   // Hessian pattern the barrier reads (upper triangle)
  bool started = false;          // B is the identity until the first update
  bool havePrev = false;
  std::vector<double> xPrev, gPrev, jPrev;  // point, objective gradient, Jacobian before the step
  std::vector<double> s, y, Bs;  // last pair and work
  // Limited memory: pairs column by column, oldest first.
  int lmsize = 10, count = 0;
  double sigma = 1.0;
  std::vector<double> S, Y;
  std::vector<double> N;         // middle matrix [sigma S'S, L; L', -D], factored
  std::vector<int> Npiv;
  bool Nok = false;
  // Woodbury correction around the step system's factor.
  std::vector<double> Z;         // K^-1 U, dim x 2k
  std::vector<double> G;         // W'Z_x - N, factored
  std::vector<int> Gpiv;
  int lmDim = 0, lmCols = 0;
  bool lmReady = false;
  std::vector<double> work;
};
