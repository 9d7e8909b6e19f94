// The new-point log: the latest iterate (or every iterate) written to
// "morvex_newpoint.log".
#include "driver/output.h"
#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"

void writeNewPoint(MXL_context *ctx, int iteration, double obj, const double *x, const double *lambda) {
  const int mode = ctx->opt.newpoint;
  if (mode != 1 && mode != 2) return;
  const std::string path = mx_output_path(ctx, "morvex_newpoint.log");
  const bool append = mode == 2 && ctx->output->newPointWritten;
  MxFile file(std::fopen(path.c_str(), append ? "a" : "w"));
  if (!file) {
    mxl_printf(ctx, "WARNING: Could not open '%s' for writing\n", path.c_str());
    return;
  }
  std::FILE *f = file.get();
  if (!append) {
    char release[64];
    std::snprintf(release, sizeof release, "Morvex %s", MORVEX_VERSION_TEXT);
    std::fprintf(f, "%s, n=%d, m=%d\n", release, ctx->n, ctx->m);
  }
  ctx->output->newPointWritten = 1;
  std::fprintf(f, "Iter=%d, obj=%19.11e\n", iteration, obj);
  const bool named = ctx->var.name.exists();
  for (int i = 0; i < ctx->n; ++i) {
    if (named && ctx->var.hasName[i])
      std::fprintf(f, "%15s=%19.11e\n", ctx->var.name.v[i].c_str(), x[i]);
    else
      std::fprintf(f, "X[%d]=%19.11e\n", i, x[i]);
  }
  for (int j = 0; j < ctx->n + ctx->m; ++j) std::fprintf(f, "L[%d]=%19.11e\n", j, lambda[j]);
}
