// Placeholder for the option block; replaced by the generated block of the
// option table. Members are named exactly as the options.
#pragma once
#include <string>

struct MXL_context;

struct MxOptionBlock {
  int algorithm = 0;
  int bar_linsys_storage = -1;
  int blasoption = -1;
  int cg_precond = 0;
  int debug = 0;
  int hessopt = 0;
  int linsolver = 0;
  int outlev = 2;
  int outmode = 0;
  int outappend = 0;
  std::string outdir;
  std::string outname;
  int out_csvinfo = 0;
  std::string out_csvname;
  int out_hints = 1;
  int out_jsoninfo = 0;
  std::string out_jsonname;
  int newpoint = 0;
  int ms_enable = 0;
  double fstopval = 1.7976931348623157e308;
  double objrange = 1e20;
  int xtol_iters = 0;
  double ftol = 1e-15;
  int ftol_iters = 5;
  int scale = 1;
  int convex = -1;
  int bar_conic_enable = -1;
  int mip_method = 0;
  int mip_multistart = 0;
  int ms_terminate = 4;
};

inline void mxl_reset_params_to_defaults(MXL_context *) {}
