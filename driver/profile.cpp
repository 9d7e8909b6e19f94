// The timing profile printed at the end of a solve with `debug` 1, the
// processor's description and the build line.
#include <cpuid.h>

#include <cstring>
#include <string>

#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"

namespace {

double mxPercent(double part, double whole) { return whole > 0.0 ? 100.0 * part / whole : 0.0; }

struct MxCpuInfo {
  char vendor[13] = {0};
  char model[49] = {0};
  std::string flags;
};

void mxReadVendor(MxCpuInfo &info) {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(0, &a, &b, &c, &d)) return;
  std::memcpy(info.vendor, &b, 4);
  std::memcpy(info.vendor + 4, &d, 4);
  std::memcpy(info.vendor + 8, &c, 4);
}

void mxReadModel(MxCpuInfo &info) {
  unsigned regs[12] = {0};
  for (unsigned leaf = 0; leaf < 3; ++leaf)
    if (!__get_cpuid(0x80000002u + leaf, &regs[4 * leaf], &regs[4 * leaf + 1], &regs[4 * leaf + 2],
                     &regs[4 * leaf + 3]))
      return;
  std::memcpy(info.model, regs, sizeof regs);
}

void mxReadFlags(MxCpuInfo &info) {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d)) {
    if (d & bit_SSE2) info.flags += " SSE2";
    if (c & bit_SSE4_2) info.flags += " SSE4.2";
    if (c & bit_AVX) info.flags += " AVX";
    if (c & bit_FMA) info.flags += " FMA";
  }
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
    if (b & bit_AVX2) info.flags += " AVX2";
    if (b & bit_AVX512F) info.flags += " AVX512F";
  }
}

const char *mxBlasBranch(int blasoption) {
  switch (blasoption) {
    case 1: return "Intel MKL";
    case 2: return "dynamically loaded library";
    case 3: return "BLIS";
    default: return "Morvex netlib kernels";
  }
}

}  // namespace

void printProfileCommonTimes(MXL_context *ctx) {
  const MxProfileTimes &p = ctx->timers->profile;
  const double total = p.totalReal;
  const double evalTime = p.fcTime + p.gaTime + p.hTime + p.hvTime;
  mxl_printf(ctx, "Total solution time (real) ............ %12.5f  (CPU time = %8.3f)\n", total, p.totalCpu);
  mxl_printf(ctx, "Total evaluation time ................. %12.5f           (%4.1f%% real time)\n", evalTime,
             mxPercent(evalTime, total));
  mxl_printf(ctx, "  Function/constraint eval time/count . %12.5f /%7d  (%4.1f%% )\n", p.fcTime, p.fcCount,
             mxPercent(p.fcTime, total));
  mxl_printf(ctx, "  Gradient/Jacobian eval time/count ... %12.5f / %6d  (%4.1f%% )\n", p.gaTime, p.gaCount,
             mxPercent(p.gaTime, total));
  mxl_printf(ctx, "  Hessian evaluation time/count ....... %12.5f / %6d  (%4.1f%% )\n", p.hTime, p.hCount,
             mxPercent(p.hTime, total));
  mxl_printf(ctx, "  Hessian-vector eval time/count ...... %12.5f / %6d  (%4.1f%% )\n", p.hvTime, p.hvCount,
             mxPercent(p.hvTime, total));
  mxl_printf(ctx, "Internal evaluation time .............. %12.5f\n", p.internalEvalTime);
  mxl_printf(ctx, "Total BLAS time ....................... %12.5f           (%4.1f%% )\n", p.blasTime,
             mxPercent(p.blasTime, total));
  mxl_printf(ctx, "Total LAPACK calls time/count . ....... %12.5f /%7d  (%4.1f%% )\n", p.lapackTime,
             p.lapackCount, mxPercent(p.lapackTime, total));
  mxl_printf(ctx, "Presolve time ......................... %12.5f           (%4.1f%% )\n", p.presolveTime,
             mxPercent(p.presolveTime, total));
  mxl_printf(ctx, "Load time ............................. %12.5f\n", p.loadTime);
  mxl_printf(ctx, "Setup time ............................ %12.5f\n", p.setupTime);
}

void printProfileCPUinfo(MXL_context *ctx) {
  MxCpuInfo info;
  mxReadVendor(info);
  mxReadModel(info);
  mxReadFlags(info);
  const char *model = info.model;
  while (*model == ' ') ++model;
  mxl_printf(ctx, "CPU information\n");
  mxl_printf(ctx, "  Vendor:       %s\n", info.vendor[0] ? info.vendor : "unknown");
  mxl_printf(ctx, "  Model:        %s\n", *model ? model : "unknown");
  mxl_printf(ctx, "  Instructions:%s\n", info.flags.empty() ? " none detected" : info.flags.c_str());
  mxl_printf(ctx, "  BLAS:         %s\n", mxBlasBranch(ctx->resolvedBlasoption));
}

void printBuildInfo(MXL_context *ctx) {
  mxl_printf(ctx, "Built %s", __DATE__);
  mxl_printf(ctx, " for Linux (x86_64 64-bit)");
  mxl_printf(ctx, ", gcc %d.%d\n", __GNUC__, __GNUC_MINOR__);
}
