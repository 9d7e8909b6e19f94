// Option files (parameter and tuner files), the range repairs and the
// cross-option rules run at a solve, and the copies of options into children.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "capture.h"
#include "interface/context.h"
#include "interface/structures.h"
#include "morvex.h"
#include "scratch_context.h"
#include "options/option_files.h"
#include "options/options.h"

namespace {

struct OptionFiles : ScratchContext {
  static void write(const char *name, const std::string &text) { std::ofstream(name) << text; }
};

// A loaded file lists as the options it changed.
TEST_F(OptionFiles, CommentsBlankLinesEnumNamesAndHexLoadAndListAsChanges) {
  write("opts.txt",
        "# a comment line\n"
        "\n"
        "   \t \r\n"
        "algorithm   DIRECT   # value, then a comment\n"
        "hessopt\tBfGs\r\n"
        "maxit 0x10\n"
        "feastol 1e-8#no blank before the comment\n"
        "outname run.log\n"
        "bar_murule 2\n");
  PrintCapture cap(kc);
  EXPECT_EQ(MX_print_options(kc), 0);  // nothing changed yet
  EXPECT_EQ(MX_load_param_file(kc, "opts.txt"), 0);
  EXPECT_EQ(cap.take(), "");
  EXPECT_EQ(kc->opt.feastol, 1e-8);
  kc->opt.opttol = 1e-6 + 1e-22;  // equal to the default within machine precision
  EXPECT_EQ(MX_print_options(kc), 0);
  EXPECT_EQ(cap.take(),
            "algorithm                1\n"
            "bar_murule               2\n"
            "feastol                  1e-08\n"
            "hessopt                  2\n"
            "maxit                    16\n"
            "outname                  run.log\n");
  write("empty.txt", "");
  EXPECT_EQ(MX_load_param_file(kc, "empty.txt"), 0);
}

// A value other than the default for every row, chosen so that a double
// needs all its digits to survive the trip.
void setNonDefault(MXL_context *ctx, const MxParamSpec &row, const std::string &tunerFile) {
  if (row.type == MX_PARAMTYPE_ENUM) {
    for (int i = 0; i < row.numValues; ++i)
      if (row.values[i].value != getEnumParamDefaultValue(row)) {
        mxIntSlot(ctx->opt, row) = row.values[i].value;
        return;
      }
  } else if (row.type == MX_PARAMTYPE_INTEGER) {
    const int def = getIntParamDefaultValue(row);
    const bool up = !(row.flags & MX_FLAG_MAX) || def + 1 <= row.intMax;
    mxIntSlot(ctx->opt, row) = up ? def + 1 : def - 1;
  } else if (row.type == MX_PARAMTYPE_FLOAT) {
    const double def = getDblParamDefaultValue(ctx, row);
    mxDblSlot(ctx->opt, row) = def != 0.0 ? def * 0.8765432109876543 : 0.1234567890123457;
  } else {
    std::string value = "s_" + std::string(row.name);
    if (row.apiId == MX_PARAM_TUNER_OPTIONSFILE) value = tunerFile;
    if (row.apiId == MX_PARAM_OUTDIR) value = ".";
    mxStrSlot(ctx->opt, row) = value;
  }
}

TEST_F(OptionFiles, SaveThenLoadReproducesEveryOption) {
  write("tuner.txt", "bar_murule 1 2\n");
  const MxParamSpec *rows = getMorvexParamSpecifications();
  for (int i = 0; i < getNbParamSpecs(); ++i) setNonDefault(kc, rows[i], "tuner.txt");
  PrintCapture cap(kc);
  ASSERT_EQ(MX_save_param_file(kc, "saved.txt"), 0);

  MX_context_ptr other = nullptr;
  ASSERT_EQ(MX_new(&other), 0);
  PrintCapture otherCap(other);
  EXPECT_EQ(MX_load_param_file(other, "saved.txt"), 0) << otherCap.text;
  for (int i = 0; i < getNbParamSpecs(); ++i) {
    const MxParamSpec &row = rows[i];
    if (mxParamIsInt(row))
      EXPECT_EQ(mxIntSlot(other->opt, row), mxIntSlot(kc->opt, row)) << row.name;
    else if (row.type == MX_PARAMTYPE_FLOAT)
      EXPECT_EQ(mxDblSlot(other->opt, row), mxDblSlot(kc->opt, row)) << row.name;
    else
      EXPECT_EQ(mxStrSlot(other->opt, row), mxStrSlot(kc->opt, row)) << row.name;
  }
  // The tuner file named in the saved file came along.
  ASSERT_EQ(other->tunerGrid.options.size(), 1u);
  EXPECT_EQ(other->tunerGrid.options[0].values, (std::vector<double>{1, 2}));
  MX_free(&other);

  // An unset string is saved as a comment, and reads back as unset.
  MX_context_ptr fresh = nullptr;
  ASSERT_EQ(MX_new(&fresh), 0);
  ASSERT_EQ(MX_save_param_file(fresh, "defaults.txt"), 0);
  EXPECT_NE(slurp("defaults.txt").find("\n# outname                   .\n"), std::string::npos);
  EXPECT_EQ(MX_load_param_file(fresh, "defaults.txt"), 0);
  EXPECT_TRUE(fresh->opt.outname.empty());
  MX_free(&fresh);
}

TEST_F(OptionFiles, BadLinesReportAndTheOthersApply) {
  write("bad.txt",
        "feastol 1e-7\n"
        "hessopt bogus\n"
        "maxit 12 13\n"
        "algorithm 9\n"
        "lmsize 0\n"
        "lmsize 500\n"
        "maxit 12x\n"
        "opttol abc\n"
        "Algorithm 1\n"
        "xtol\n"
        "outname a b\n"
        "maxit\n"
        "alg 3\n"
        "bar_murule 2\n");
  PrintCapture cap(kc);
  EXPECT_EQ(MX_load_param_file(kc, "bad.txt"), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(cap.take(),
            "MXL_load_param_file detects syntax error for 'hessopt', line 2\n"
            "MXL_load_param_file found extra tokens for 'maxit', line 3\n"
            "MXL_load_param_file detects syntax error for 'algorithm', line 4: 9 is not a valid value\n"
            "MXL_load_param_file finds value 0 for 'lmsize' out of range (minimum is 1), line 5\n"
            "MXL_load_param_file finds value 500 for 'lmsize' out of range (maximum is 100), line 6\n"
            "MXL_load_param_file detects bad option value '12x' for option 'maxit'.\n"
            "The value for this option setting should be a simple number.\n"
            "Required numerical parameter not understood for opttol, line 8\n"
            "MX_load_param_file found unknown token 'Algorithm', line 9\n"
            "Argument for xtol missing, line 10\n"
            "Extra tokens for outname, line 11\n"
            "MXL_load_param_file missing argument for 'maxit', line 12\n"
            "WARNING:  Option 'alg' deprecated, please use 'algorithm'.\n");
  // The good lines apply; the bad ones leave their options untouched.
  EXPECT_EQ(kc->opt.feastol, 1e-7);
  EXPECT_EQ((std::vector<int>{kc->opt.algorithm, kc->opt.bar_murule, kc->opt.hessopt, kc->opt.maxit, kc->opt.lmsize}),
            (std::vector<int>{3, 2, 0, 0, 10}));
  EXPECT_TRUE(kc->opt.outname.empty());
  EXPECT_EQ(kc->fatalError, 0);

  // The single-option form names the setter and no line.
  const char *lines[][2] = {{"nope", "1"}, {"maxit", "7z"}, {"lmsize", "0"}};
  for (const auto &line : lines) EXPECT_EQ(do_parsed_line(kc, line, 2, 7, MX_LINE_SINGLE), -1) << line[0];
  EXPECT_EQ(cap.take(),
            "MX_set_param found unknown token 'nope'\n"
            "MXL_set_param detects bad option value '7z' for option 'maxit'.\n"
            "The value for this option setting should be a simple number.\n"
            "MXL_set_param finds value 0 for 'lmsize' out of range (minimum is 1)\n");
}

TEST_F(OptionFiles, FilesThatCannotBeUsedAndCallsDuringASolve) {
  PrintCapture cap(kc);
  EXPECT_EQ(MX_load_param_file(kc, "absent.txt"), MX_RC_OPEN_FILE_ERR);
  EXPECT_EQ(cap.take(), "ERROR: Morvex could not open file 'absent.txt' for input.\n");
  EXPECT_EQ(MX_load_param_file(kc, "."), MX_RC_OPEN_FILE_ERR);
  EXPECT_EQ(cap.take(), "ERROR: Morvex could not open file '.' for input.\n");
  EXPECT_EQ(MX_load_tuner_file(kc, "absent.txt"), MX_RC_OPEN_FILE_ERR);
  EXPECT_EQ(cap.take(), "WARNING: Morvex could not open file 'absent.txt' for input.\n");
  EXPECT_EQ(MX_save_param_file(kc, "no/such/dir/x.txt"), MX_RC_OPEN_FILE_ERR);
  EXPECT_EQ(cap.take(), "WARNING: Morvex could not open file 'no/such/dir/x.txt' for output.\n");

  write("ok.txt", "maxit 5\n");
  kc->solveInProgress = 1;
  EXPECT_EQ(MX_load_param_file(kc, "ok.txt"), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(MX_load_tuner_file(kc, "ok.txt"), MX_RC_ILLEGAL_CALL);
  EXPECT_EQ(cap.take(),
            "ERROR: Cannot call MXL_load_param_file while solving.\n"
            "WARNING: Cannot call MXL_load_tuner_file while solving.\n");
  kc->solveInProgress = 0;
  EXPECT_EQ(kc->opt.maxit, 0);

  // A tuner file named by a parameter file that cannot be read fails the
  // load, while the parameter lines stay in force.
  write("with_tuner.txt", "maxit 5\ntuner_optionsfile missing_tuner.txt\n");
  EXPECT_EQ(MX_load_param_file(kc, "with_tuner.txt"), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(kc->opt.maxit, 5);
}

TEST_F(OptionFiles, TunerFileKeepsValidOptionsAndWarnsForTheRest) {
  write("tuner.txt",
        "algorithm 1 2 3\n"
        "bar_murule\n"
        "outlev 1 2\n"
        "lmsize 5 10\n"
        "feastol\n"
        "outname x\n"
        "algorithm 4\n"
        "bar_maxcrossit 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n"
        "hessopt 2 6\n"
        "bar_initmu 0.1 0.01\n"
        "linsolver 4 bogus\n");
  PrintCapture cap(kc);
  EXPECT_EQ(MX_load_tuner_file(kc, "tuner.txt"), MX_RC_BAD_PARAMINPUT);
  EXPECT_EQ(cap.take(),
            "Morvex Tuner ignoring option 'outlev', which is not a valid tuning option.\n"
            "Morvex Tuner ignoring option 'lmsize', which is only valid for the LBFGS Hessian option.\n"
            "Morvex Tuner ignoring option 'feastol', which is not a valid tuning option.\n"
            "Character type option 'outname' defined in Tuner options file will be ignored.\n"
            "Tuning option 'algorithm' has been set multiple times in the Tuner options file.\n"
            "Only the first setting will be used.\n"
            "Morvex Tuner allows at most 16 test values per option.\n"
            "Only the first 16 values will be tested for option 'bar_maxcrossit'.\n"
            "MXL_load_tuner_file detects syntax error for 'linsolver', line 11\n");
  const MxTunerGrid &grid = kc->tunerGrid;
  EXPECT_TRUE(grid.fromFile);
  ASSERT_EQ(grid.options.size(), 5u);
  EXPECT_EQ(grid.options[0].values, (std::vector<double>{1, 2, 3}));
  EXPECT_TRUE(grid.options[1].tunerChooses);
  EXPECT_EQ(grid.options[2].values.size(), 16u);
  EXPECT_EQ(grid.options[4].kind, 2);
  EXPECT_EQ(grid.options[4].values, (std::vector<double>{0.1, 0.01}));

  // lmsize is kept once the file offers the L-BFGS Hessian; a name alone
  // has no values for an option the tuner cannot enumerate.
  write("tuner2.txt", "hessopt 2 6\nlmsize 5 10\nbar_maxcrossit\n");
  EXPECT_EQ(MX_load_tuner_file(kc, "tuner2.txt"), 0);
  EXPECT_EQ(cap.take(),
            "Morvex Tuner ignoring option 'bar_maxcrossit', which has no tuning value settings.\n");
  ASSERT_EQ(kc->tunerGrid.options.size(), 2u);
  EXPECT_EQ(kc->tunerGrid.options[1].name, "lmsize");
}

// Values set through setters are stored as given; the check at the solve
// repairs them to the default with one warning each.
TEST_F(OptionFiles, IllegalValuesFromSettersAreRepairedAtTheSolve) {
  PrintCapture cap(kc);
  // algorithm -2 is hidden, yet legal.
  for (const auto &set : std::vector<std::pair<const char *, double>>{
           {"lmsize", 0}, {"hessopt", 42}, {"feastol", -1}, {"opttol", std::nan("")}, {"algorithm", -2},
           {"maxtime_cpu", 500}, {"ms_maxtime_cpu", 100}, {"maxtime_real", 500}, {"tuner_maxtime_real", 50},
           {"ms_maxtime_real", 70}})
    ASSERT_EQ(MX_set_param_by_name(kc, set.first, set.second), 0) << set.first;
  chkspecs(kc);
  std::string want;
  for (const char *change : {"'feastol' from -1 to 1e-06", "'hessopt' from 42 to 0", "'lmsize' from 0 to 10",
                             "'opttol' from nan to 1e-06"})
    want += std::string("WARNING:  Detected an illegal value for a user option.\n          Changing ") + change + ".\n";
  EXPECT_EQ(cap.take(), want);
  EXPECT_EQ((std::vector<int>{kc->opt.lmsize, kc->opt.hessopt, kc->opt.algorithm}), (std::vector<int>{10, 0, -2}));
  // The overall time limits shrink to the smallest inner limit.
  EXPECT_EQ(std::make_pair(kc->opt.maxtime_cpu, kc->opt.maxtime_real), std::make_pair(100.0, 50.0));
  chkspecs(kc);
  EXPECT_EQ(cap.take(), "");  // repaired values pass
}

// One case per cross-option rule: the setup, how many warnings it gives and
// what names the rule in the first, and what changed.
TEST_F(OptionFiles, EachCrossOptionRuleFiresOnItsCase) {
  using C = MXL_context *;
  using K = const MXL_context *;
  const struct {
    const char *name;
    std::function<void(C)> setup;
    int warnings;
    const char *text;
    std::function<bool(K)> changed;
  } cases[] = {
      {"eval_fcga", [](C c) { c->opt.eval_fcga = 1; c->resolvedHessopt = 4; }, 1,
       "hessopt=4 not valid when eval_fcga=1.\n         Changing hessopt to 6",
       [](K c) { return c->resolvedHessopt == 6; }},
      {"apple solver", [](C c) { c->resolvedLinsolver = 9; }, 1, "linsolver=9 is only available for the Apple",
       [](K c) { return c->resolvedLinsolver == 0; }},
      {"cones",
       [](C c) {
         c->model->conics.push_back(std::make_unique<MXCONIC>());
         c->resolvedAlgorithm = 4;
         c->resolvedHessopt = 5;
       },
       2, "L2 norm (e.g. conic) structure.\n         Switching to Interior/Direct",
       [](K c) { return c->resolvedAlgorithm == 1 && c->resolvedHessopt == 6; }},
      {"direct products", [](C c) { c->resolvedAlgorithm = 1; c->resolvedHessopt = 5; }, 1,
       "hessopt=5 not valid for Interior/Direct algorithm.\n         Switching to Interior/CG",
       [](K c) { return c->resolvedAlgorithm == 2; }},
      {"sqp products", [](C c) { c->resolvedAlgorithm = 4; c->resolvedHessopt = 5; }, 1,
       "hessopt=5 not valid for Active-Set/SQP algorithm.\n         Switching to Active-Set/CG",
       [](K c) { return c->resolvedAlgorithm == 3; }},
      {"active set",
       [](C c) { c->resolvedAlgorithm = 3; c->opt.linsolver_ooc = c->resolvedFeasible = 1; c->resolvedLinsolver = 7; },
       3, "linsolver_ooc=1 not valid for Active-Set algorithms.\n         Setting linsolver_ooc=0",
       [](K c) { return c->opt.linsolver_ooc == 0 && c->resolvedLinsolver == 0; }},
      {"inactive solver options",
       [](C c) { c->resolvedAlgorithm = c->opt.linsolver_inexact = c->opt.linsolver_ooc = 1; c->resolvedLinsolver = 4; },
       2, "linsolver_inexact=1 is not active for linsolver=4", [](K c) { return c->opt.linsolver_ooc == 1; }},
      {"finite differences",
       [](C c) {
         c->opt.gradopt = 3;
         c->resolvedAlgorithm = 2;
         c->resolvedFeasible = c->resolvedHonorbnds = c->opt.derivcheck = 1;
         c->resolvedHessopt = 4;
       },
       4, "bar_feasible=1 not guaranteed when using finite difference gradients",
       [](K c) { return c->resolvedHessopt == 6 && c->opt.derivcheck == 0; }},
      {"callback with forward differences", [](C c) { c->model->numericGradModes = c->opt.derivcheck = 1; }, 1,
       "Unable to perform a derivative check when using finite difference gradients",
       [](K c) { return c->opt.derivcheck == 0; }},
      {"multi-start off",
       [](C c) {
         c->opt.ms_maxsolves = c->opt.ms_seed = 3;
         c->opt.ms_maxbndrange = 10.0;
         c->opt.ms_startptrange = 1e20 * (1 + 1e-15);  // within tolerance: unchanged
       },
       3, "Option ms_maxsolves was set, but option ms_enable='no'", [](K) { return true; }},
      {"feasible needs penalty",
       [](C c) { c->resolvedAlgorithm = 1; c->resolvedFeasible = 2; c->resolvedPenaltyCons = 3; }, 1, "bar_feasible=2 requires bar_penaltycons=2 (all).\n         Changing bar_penaltycons to 2",
       [](K c) { return c->resolvedPenaltyCons == 2; }},
      // debug needs output: the warning cannot print at outlev 0, the repair holds.
      {"debug without output", [](C c) { c->opt.outlev = 0; c->opt.debug = 1; }, 0, "",
       [](K c) { return c->opt.debug == 0; }},
  };
  for (const auto &rc : cases) {
    SCOPED_TRACE(rc.name);
    MX_context_ptr ctx = nullptr;
    ASSERT_EQ(MX_new(&ctx), 0);
    PrintCapture cap(ctx);
    rc.setup(ctx);
    chkspecdependencies(ctx);
    const std::string text = cap.take();
    size_t warnings = 0;
    for (size_t at = text.find("WARNING: "); at != std::string::npos; at = text.find("WARNING: ", at + 1)) ++warnings;
    EXPECT_EQ(warnings, static_cast<size_t>(rc.warnings)) << text;
    EXPECT_NE(text.find(rc.text), std::string::npos) << text;
    EXPECT_TRUE(rc.changed(ctx));
    MX_free(&ctx);
  }

  PrintCapture cap(kc);
  kc->opt.outlev = 2;
  kc->opt.mip_rootalg = 3;
  kc->opt.mip_gomory = 2;
  chkMIPspecdependencies(kc, 1);
  EXPECT_EQ(kc->opt.mip_gomory, 2);
  chkMIPspecdependencies(kc, 0);
  EXPECT_EQ(cap.take(),
            "WARNING: For MINLP, option mip_gomory=2 requires mip_rootalg=1.\n"
            "         Changing mip_gomory to 0.\n");
  EXPECT_EQ(kc->opt.mip_gomory, 0);
}

TEST_F(OptionFiles, ChildrenGetTheChangedOptionsButNotTheParentsFiles) {
  ASSERT_EQ(MX_add_vars(kc, 1, nullptr), 0);
  kc->opt.maxit = 77;
  kc->opt.opttol = 1e-9;
  kc->opt.outname = "parent.log";
  kc->opt.out_csvinfo = 1;
  kc->opt.mip_method = 2;
  MXL_context *node = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 1);
  ASSERT_NE(node, nullptr);
  ASSERT_EQ(mx_copy_problem(kc, node, 0, 0), 0);
  EXPECT_EQ(std::tie(node->opt.maxit, node->opt.opttol, node->opt.outname, node->opt.out_csvinfo),
            std::make_tuple(77, 1e-9, std::string(), 0));
  // feastol_abs defaults by the kind of child (a multi-start child keeps the
  // parent's 1e-3), and a parent's own choice reaches every child.
  for (int kind : {1, 5, 8, 9}) {
    MXL_context *child = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, kind);
    EXPECT_EQ(child->opt.feastol_abs, kind == 5 ? 1e-3 : 1e-6) << kind;
    mxl_destroy(child);
  }
  kc->opt.feastol_abs = 1e-4;
  ASSERT_EQ(mx_copy_problem(kc, node, 0, 0), 0);
  EXPECT_EQ(node->opt.feastol_abs, 1e-4);

  MXL_context *other = mx_new_puts_subproblem(kc, nullptr, nullptr, nullptr, 2);
  copyNondefaultMipOptions(kc, other);
  EXPECT_EQ(std::make_pair(other->opt.mip_method, other->opt.maxit), std::make_pair(2, 0));
  const int ids[] = {MX_PARAM_MAXIT, MX_PARAM_OUTNAME};
  copyGivenNonDefaultOptions(kc, other, ids, 2);
  EXPECT_EQ(std::tie(other->opt.maxit, other->opt.outname), std::make_tuple(77, std::string("parent.log")));
  mxl_destroy(other);
  mxl_destroy(node);
}

}  // namespace
