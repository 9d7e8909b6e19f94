// Placeholder for the option block; replaced by the generated block of the
// option table. Members are named exactly as the options.
#pragma once
#include <string>

struct MXL_context;

struct MxOptionBlock {
  int algorithm = 0;
  int bar_linsys_storage = -1;
  int blas_numthreads = 0;
  int blasoption = -1;
  std::string blasoptionlib;
  double bndrange = 1e+20;
  int cg_precond = 0;
  int debug = 0;
  double feastol = 1e-06;
  double feastol_abs = 0.001;
  int hessopt = 0;
  int linsolver = 0;
  int linsolver_maxitref = 2;
  int linsolver_nodeamalg = 0;
  int linsolver_numthreads = 0;
  int linsolver_ooc = 0;
  int linsolver_ordering = -1;
  double linsolver_pivottol = 1e-08;
  int linsolver_scaling = 0;
  double opttol = 1e-06;
  double opttol_abs = 0.001;
  int outlev = 2;
};

inline void mxl_reset_params_to_defaults(MXL_context *) {}
