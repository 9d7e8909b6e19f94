// The debug files of the algorithms: one set per algorithm family, each
// child's set told apart by its number.
#include <iterator>

#include "driver/output.h"
#include "interface/context.h"

namespace {

struct MxDebugFileName {
  MxDebugFileKind kind;
  const char *name;
};

const MxDebugFileName kActiveSetFiles[] = {
    {MX_DBG_SUMM, "mxdbg_summAS.log"},     {MX_DBG_STEP, "mxdbg_stepAS.log"},
    {MX_DBG_LP, "mxdbg_lpAS.log"},         {MX_DBG_EQP, "mxdbg_eqpAS.log"},
    {MX_DBG_ACTSET, "mxdbg_actsetAS.log"}, {MX_DBG_PROFILE, "mxdbg_profileAS.log"},
};

const MxDebugFileName kBarrierFiles[] = {
    {MX_DBG_SUMM, "mxdbg_summIP.log"},       {MX_DBG_STEP, "mxdbg_stepIP.log"},
    {MX_DBG_BARRIER, "mxdbg_barrierIP.log"}, {MX_DBG_NORMAL, "mxdbg_normalIP.log"},
    {MX_DBG_TANG, "mxdbg_tangIP.log"},       {MX_DBG_PROFILE, "mxdbg_profileIP.log"},
    {MX_DBG_DIRECT, "mxdbg_directIP.log"},
};

template <size_t N>
void mxOpenSet(MXL_context *ctx, const MxDebugFileName (&set)[N], int childNumber) {
  for (const MxDebugFileName &f : set) {
    const std::string name = childNumber >= 0 ? addIntSuffixToFilePath(f.name, childNumber) : f.name;
    ctx->output->debugFiles[f.kind] = openOutputFile(ctx, name.c_str(), "w");
  }
}

}  // namespace

std::string addIntSuffixToFilePath(const std::string &path, int number) {
  const size_t slash = path.rfind('/');
  const size_t dot = path.rfind('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string suffix = "_" + std::to_string(number);
  if (!hasExtension) return path + suffix;
  return path.substr(0, dot) + suffix + path.substr(dot);
}

void openDebugFiles(MXL_context *ctx, bool activeSet, int childNumber) {
  closeDebugFiles(ctx);
  if (ctx->opt.debug != 1) return;
  if (activeSet)
    mxOpenSet(ctx, kActiveSetFiles, childNumber);
  else
    mxOpenSet(ctx, kBarrierFiles, childNumber);
}

void closeDebugFiles(MXL_context *ctx) {
  for (MxFile &f : ctx->output->debugFiles) f.reset();
}

std::FILE *mxDebugFile(MXL_context *ctx, MxDebugFileKind kind) {
  return ctx->output->debugFiles[kind].get();
}
