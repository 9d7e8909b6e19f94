// Options that differ from their defaults: the listing and the copies into
// child contexts.
#include <cmath>
#include <cstdio>
#include <iterator>

#include "driver/print.h"
#include "interface/context.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

constexpr double kMachineEpsilon = 2.220446049250313e-16;

// A child writes no files of its own (its text goes through the parent's
// puts routine) and decides for itself whether to run a meta-solver;
// inheriting these would clobber the parent's files or recurse.
const int kNotInherited[] = {
    MX_PARAM_OUTMODE,      MX_PARAM_OUTDIR,       MX_PARAM_OUTNAME,  MX_PARAM_OUTAPPEND,
    MX_PARAM_OUT_CSVINFO,  MX_PARAM_OUT_CSVNAME,  MX_PARAM_OUT_JSONINFO,
    MX_PARAM_OUT_JSONNAME, MX_PARAM_NEWPOINT,     MX_PARAM_MS_ENABLE, MX_PARAM_TUNER,
    MX_PARAM_TUNER_OPTIONSFILE,
};

bool mxInherited(const MxParamSpec &row) {
  for (int id : kNotInherited)
    if (row.apiId == id) return false;
  return true;
}

void mxCopyRow(const MXL_context *source, MXL_context *target, const MxParamSpec &row) {
  MxOptionBlock &to = target->opt;
  const MxOptionBlock &from = source->opt;
  if (row.intPlace != nullptr)
    to.*row.intPlace = from.*row.intPlace;
  else if (row.dblPlace != nullptr)
    to.*row.dblPlace = from.*row.dblPlace;
  else
    to.*row.strPlace = from.*row.strPlace;
}

template <class Keep>
void mxCopyChanged(const MXL_context *source, MXL_context *target, Keep keep) {
  const MxParamSpec *rows = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i)
    if (keep(rows[i]) && !mxOptionIsDefault(source, source->opt, rows[i]))
      mxCopyRow(source, target, rows[i]);
}

}  // namespace

bool optionDoublesEqual(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

bool mxOptionIsDefault(const MXL_context *ctx, const MxOptionBlock &opt, const MxParamSpec &row) {
  switch (row.type) {
    case MX_PARAMTYPE_INTEGER:
    case MX_PARAMTYPE_ENUM:
      return opt.*row.intPlace == getIntParamDefaultValue(row);
    case MX_PARAMTYPE_FLOAT: {
      const double value = opt.*row.dblPlace, def = getDblParamDefaultValue(ctx, row);
      return value == def || optionDoublesEqual(value, def, kMachineEpsilon);
    }
    default: {
      const std::string &value = opt.*row.strPlace;
      return row.strDefault != nullptr ? value == row.strDefault : value.empty();
    }
  }
}

void printOptions(MXL_context *ctx, const MxOptionBlock &options) {
  const MxParamSpec *rows = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i) {
    const MxParamSpec &row = rows[i];
    if (mxOptionIsDefault(ctx, options, row)) continue;
    if (row.type == MX_PARAMTYPE_FLOAT)
      mxl_printf(ctx, "%-24s %g\n", row.name, options.*row.dblPlace);
    else if (row.type != MX_PARAMTYPE_STRING)
      mxl_printf(ctx, "%-24s %d\n", row.name, options.*row.intPlace);
    else if ((options.*row.strPlace).empty())
      mxl_printf(ctx, "%-24s None\n", row.name);
    else
      mxl_printf(ctx, "%-24s %s\n", row.name, (options.*row.strPlace).c_str());
  }
}

void copyNondefaultOptions(const MXL_context *source, MXL_context *target) {
  mxCopyChanged(source, target, mxInherited);
}

void copyNondefaultMipOptions(const MXL_context *source, MXL_context *target) {
  mxCopyChanged(source, target, [](const MxParamSpec &row) { return (row.tags & MX_TAG_MIP) != 0; });
}

void copyNondefaultParallelOptions(const MXL_context *source, MXL_context *target) {
  mxCopyChanged(source, target,
                [](const MxParamSpec &row) { return (row.tags & MX_TAG_PARALLELISM) != 0; });
}

void copyGivenNonDefaultOptions(const MXL_context *source, MXL_context *target, const int *ids,
                                int count) {
  for (int k = 0; k < count; ++k) {
    const MxParamSpec *row = getParamSpecsFromAPIId(nullptr, ids[k]);
    if (row != nullptr && !mxOptionIsDefault(source, source->opt, *row))
      mxCopyRow(source, target, *row);
  }
}

MxOptionBlock storeOptions(const MXL_context *ctx) { return ctx->opt; }

void copyOptions(MXL_context *ctx, const MxOptionBlock &saved) { ctx->opt = saved; }
