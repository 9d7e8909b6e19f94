// Tuner options files: each line names an option and the values the tuner
// is to try; a name alone lets the tuner choose the values of an enum.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "driver/output.h"
#include "driver/print.h"
#include "interface/context.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

// The algorithmic options; output, limits, tuner settings and properties of
// the model are never tuned. Sorted in byte order for the binary search.
const char *const kTunableOptions[] = {
    "act_lpalg", "act_lpfeastol", "act_lppenalty", "act_lppresolve", "act_lpsolver",
    "act_parametric", "act_qpalg", "act_qppenalty", "algorithm", "bar_conic_enable",
    "bar_directinterval", "bar_feasible", "bar_feasmodetol", "bar_globalize", "bar_initmu",
    "bar_initpi_mpec", "bar_initpt", "bar_initshifttol", "bar_linsys", "bar_linsys_storage",
    "bar_maxcorrectors", "bar_maxcrossit", "bar_maxmu", "bar_maxrefactor", "bar_mpec_heuristic",
    "bar_murule", "bar_penaltycons", "bar_penaltyrule", "bar_refinement", "bar_relaxcons",
    "bar_slackboundpush", "bar_switchobj", "bar_switchrule", "bar_watchdog", "bfgs_scaling",
    "blasoption", "bndrange", "cg_maxit", "cg_pmem", "cg_precond", "cg_stoptol", "delta",
    "eval_cost", "eval_fcga", "findiff_estnoise", "findiff_relstepsize", "gradopt",
    "hessian_no_f", "hessopt", "honorbnds", "initpenalty", "initpt_strategy", "linesearch",
    "linesearch_maxtrials", "linsolver", "linsolver_inexact", "linsolver_inexacttol",
    "linsolver_maxitref", "linsolver_nodeamalg", "linsolver_ooc", "linsolver_ordering",
    "linsolver_pivottol", "linsolver_scaling", "lmsize", "mip_branchrule", "mip_clique",
    "mip_cut_flowcover", "mip_cut_probing", "mip_cutfactor", "mip_cutting_plane", "mip_gomory",
    "mip_gub_branch", "mip_heuristic_diving", "mip_heuristic_feaspump", "mip_heuristic_lns",
    "mip_heuristic_localsearch", "mip_heuristic_maxit", "mip_heuristic_misqp",
    "mip_heuristic_mpec", "mip_heuristic_strategy", "mip_heuristic_terminate",
    "mip_implications", "mip_intvar_strategy", "mip_knapsack", "mip_liftproject", "mip_lpalg",
    "mip_maxsepcons", "mip_method", "mip_mir", "mip_multistart", "mip_nodealg",
    "mip_pseudoinit", "mip_restart", "mip_rootalg", "mip_rounding", "mip_selectdir",
    "mip_selectrule", "mip_skipfactor", "mip_strong_candlim", "mip_strong_level",
    "mip_strong_maxit", "mip_zerohalf", "ms_enable", "ms_initpt_cluster", "ms_maxbndrange",
    "ms_maxsolves", "ms_seed", "ms_startptrange", "ms_terminate", "ms_terminaterule_tol",
    "ncvx_qcqp_init", "objrange", "presolve", "presolve_initpt", "presolve_level",
    "presolve_passes", "presolve_tol", "presolveop_bigm", "presolveop_redundant",
    "presolveop_substitution", "presolveop_substitution_fillin", "presolveop_substitution_tol",
    "presolveop_substitution_zero_tol", "presolveop_tighten", "restarts", "restarts_maxit",
    "scale", "scale_vars", "soc", "strat_warm_start",
};

bool mxNameLess(const char *a, const char *b) { return std::strcmp(a, b) < 0; }

const MxTunerOption *mxFindTunerOption(const MxTunerGrid &grid, const char *name) {
  for (const MxTunerOption &o : grid.options)
    if (o.name == name) return &o;
  return nullptr;
}

// The limited-memory size only matters when the Hessian is L-BFGS, chosen
// by the user or among the values the file gives to hessopt.
bool mxLbfgsPossible(const MXL_context *ctx) {
  if (ctx->opt.hessopt == 6) return true;
  const MxTunerOption *h = mxFindTunerOption(ctx->tunerGrid, "hessopt");
  return h != nullptr && std::find(h->values.begin(), h->values.end(), 6.0) != h->values.end();
}

// Warnings that make the tuner ignore a line; true when the line is ignored.
bool mxTunerIgnores(MXL_context *ctx, const MxParamSpec *row, const char *name) {
  if (row != nullptr && row->type == MX_PARAMTYPE_STRING) {
    mxl_printf(ctx, "Character type option '%s' defined in Tuner options file will be ignored.\n",
               name);
    return true;
  }
  if (row == nullptr || !isValidTunerOption(row->name)) {
    mxl_printf(ctx, "Morvex Tuner ignoring option '%s', which is not a valid tuning option.\n",
               name);
    return true;
  }
  if (row->apiId == MX_PARAM_LMSIZE && !mxLbfgsPossible(ctx)) {
    mxl_printf(ctx,
               "Morvex Tuner ignoring option '%s', which is only valid for the LBFGS Hessian option.\n",
               name);
    return true;
  }
  if (mxFindTunerOption(ctx->tunerGrid, row->name) != nullptr) {
    mxl_printf(ctx, "Tuning option '%s' has been set multiple times in the Tuner options file.\n",
               name);
    mxl_printf(ctx, "Only the first setting will be used.\n");
    return true;
  }
  return false;
}

void mxLimitTunerValues(MXL_context *ctx, MxTunerOption &option) {
  if (option.values.size() <= static_cast<size_t>(MX_TUNER_MAX_VALUES)) return;
  mxl_printf(ctx, "Morvex Tuner allows at most %d test values per option.\n", MX_TUNER_MAX_VALUES);
  mxl_printf(ctx, "Only the first %d values will be tested for option '%s'.\n", MX_TUNER_MAX_VALUES,
             option.name.c_str());
  option.values.resize(MX_TUNER_MAX_VALUES);
}

}  // namespace

bool isValidTunerOption(const char *name) {
  return name != nullptr && std::binary_search(std::begin(kTunableOptions),
                                               std::end(kTunableOptions), name, mxNameLess);
}

int mxTunerLine(MXL_context *ctx, const char *const *tokens, int count, int lineNumber) {
  const MxParamSpec *row = getParamSpecsFromNameBinSearch(ctx, tokens[0]);
  if (mxTunerIgnores(ctx, row, tokens[0])) return 0;
  MxTunerOption option;
  option.name = row->name;
  option.kind = row->type == MX_PARAMTYPE_FLOAT ? 2 : 1;
  if (count == 1) {
    // The tuner can only choose among the listed values of an enum.
    if (row->type != MX_PARAMTYPE_ENUM) {
      mxl_printf(ctx, "Morvex Tuner ignoring option '%s', which has no tuning value settings.\n",
                 tokens[0]);
      return 0;
    }
    option.tunerChooses = true;
  }
  const int rc = option.kind == 2
                     ? mxReadTunerDoubleValues(ctx, *row, tokens, count, lineNumber, option.values)
                     : mxReadTunerIntValues(ctx, *row, tokens, count, lineNumber, option.values);
  if (rc < 0) return -1;
  mxLimitTunerValues(ctx, option);
  ctx->tunerGrid.options.push_back(std::move(option));
  return 0;
}

// A new file replaces the grid of an earlier one.
int mxLoadTunerFile(MXL_context *ctx, const char *filename) {
  MxFile file(std::fopen(filename, "r"));
  if (!file) {
    mxl_printf(ctx, "WARNING: Morvex could not open file '%s' for input.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  ctx->tunerGrid.options.clear();
  const int rc = MXL_load_param_filep(ctx, file.get(), 1, nullptr);
  if (std::ferror(file.get())) {  // a directory opens, but cannot be read
    mxl_printf(ctx, "WARNING: Morvex could not open file '%s' for input.\n", filename);
    return MX_RC_OPEN_FILE_ERR;
  }
  ctx->tunerGrid.fromFile = true;
  return rc;
}
