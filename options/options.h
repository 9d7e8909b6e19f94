// Placeholder for the option block; replaced by the generated block of the
// option table. Members are named exactly as the options.
#pragma once
#include <string>

struct MXL_context;

struct MxOptionBlock {
  int algorithm = 0;
  int bar_linsys_storage = -1;
  int blasoption = -1;
  double bndrange = 1e+20;
  int cg_precond = 0;
  int concurrent_evals = 1;
  int debug = 0;
  int eval_fcga = 0;
  double feastol = 1e-06;
  double feastol_abs = 0.0;
  int gradopt = 1;
  int hessopt = 0;
  int linsolver = 0;
  int maxfevals = -1;
  int numthreads = -1;
  int outlev = 2;
};

inline void mxl_reset_params_to_defaults(MXL_context *) {}
