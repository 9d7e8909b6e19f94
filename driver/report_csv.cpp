// The solve table: a header line and one row per solve, fields ended by ';'.
// Header and row are built from the same lists, so that they always have
// the same number of fields.
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <string>

#include "driver/output.h"
#include "driver/report.h"
#include "interface/context.h"
#include "options/options.h"

namespace {

const char *const kCsvProblemHeader =
    "mxl_version;os;minimize;pb_type;pb_obj;pb_n;pb_m;pb_nbb;pb_nba;pb_nbba;pb_nfixed;pb_nfree;"
    "pb_bin;pb_int;pb_mleq;pb_mqeq;pb_mnleq;pb_mlineq;pb_qineq;pb_mnlineq;pb_mrange;pb_mcomps;"
    "pb_nnzJ;pb_nnzH;pb_nres;pb_nnzResJ;pb_size;pb_densJ;pb_densH;";
const char *const kCsvSolveHeader =
    "slv_rc;slv_obj;slv_feas;slv_absfeas;slv_relfeas;slv_absopt;slv_relopt;slv_niter;slv_ncg;"
    "slv_feval;slv_gradeval;slv_hesseval;slv_hessveceval;slv_nodes;slv_realtime;slv_cputime;"
    "slv_evaltime;";

// The main algorithm options, one column each.
const char *const kCsvOptions[] = {
    "algorithm",       "hessopt",         "gradopt",         "honorbnds",
    "bar_murule",      "bar_feasible",    "bar_penaltycons", "bar_penaltyrule",
    "bar_switchrule",  "bar_initpt",      "bar_directinterval", "linsolver",
    "act_qpalg",       "act_lpsolver",    "presolve",        "scale",
    "maxit",           "feastol",         "feastol_abs",     "opttol",
    "opttol_abs",      "xtol",            "mip_method",      "ms_enable",
};

// Serialises the rows of children that share their root's file.
std::mutex &mxCsvLock() {
  static std::mutex lock;
  return lock;
}

void mxAppend(std::string &out, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
void mxAppend(std::string &out, const char *fmt, ...) {
  char field[128];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(field, sizeof field, fmt, ap);
  va_end(ap);
  out += field;
}

const char *mxProblemType(const MxProblemCounts &c) {
  if (c.binary + c.integer > 0) return "minlp";
  if (c.residuals > 0) return "lsq";
  const bool nonlinearCons = c.nlEq + c.nlIneq + c.nlRange > 0;
  if (c.objType == MX_OBJTYPE_GENERAL || nonlinearCons) return "nlp";
  if (c.quadEq + c.quadIneq + c.quadRange > 0) return "qcqp";
  if (c.objType == MX_OBJTYPE_QUADRATIC) return "qp";
  return "lp";
}

void mxAppendProblem(std::string &out, const MxProblemCounts &c) {
  mxAppend(out, "Morvex %s;linux;%d;%s;%d;", MORVEX_VERSION_TEXT,
           c.objGoal == MX_OBJGOAL_MAXIMIZE ? 0 : 1, mxProblemType(c), c.objType);
  mxAppend(out, "%d;%d;%d;%d;%d;%d;%d;%d;%d;", c.n, c.m, c.boundedBelow, c.boundedAbove,
           c.boundedBoth, c.fixed, c.free, c.binary, c.integer);
  mxAppend(out, "%d;%d;%d;%d;%d;%d;%d;%d;", c.linEq, c.quadEq, c.nlEq, c.linIneq, c.quadIneq,
           c.nlIneq, c.linRange + c.quadRange + c.nlRange, c.comps);
  mxAppend(out, "%lld;%lld;", static_cast<long long>(c.nnzJ), static_cast<long long>(c.nnzH));
  if (c.residuals > 0)
    mxAppend(out, "%d;%lld;", c.residuals, static_cast<long long>(c.nnzResJ));
  else
    out += "0;0;";
  const double n = c.n, pairs = n * (n + 1.0) / 2.0, entries = n * c.m;
  mxAppend(out, "%d;", c.n + c.m);
  mxAppend(out, "%12.5f;%12.5f;", entries > 0 ? c.nnzJ / entries : 0.0,
           pairs > 0 ? c.nnzH / pairs : 0.0);
}

double mxRelative(double abs, double scale) { return scale > 0.0 ? abs / scale : abs; }

void mxAppendSolve(std::string &out, int code, const MxSolveStats &s) {
  mxAppend(out, "%d;%22.14e;%d;", code, s.objective, s.feasible);
  mxAppend(out, "%8.2e;%8.2e;", s.absFeasError, mxRelative(s.absFeasError, s.feasScale));
  mxAppend(out, "%8.2e;%8.2e;", s.absOptError, mxRelative(s.absOptError, s.optScale));
  mxAppend(out, "%d;%d;%d;%d;%d;%d;%d;", s.iterations, s.cgIterations, s.fevals, s.gevals,
           s.hevals, s.hvevals, s.nodes);
  mxAppend(out, "%12.5f;%10.3f;%12.5f;", s.realTime, s.cpuTime, s.evalTime);
}

void mxAppendOptions(std::string &out, const MXL_context *ctx) {
  for (const char *name : kCsvOptions) {
    const MxParamSpec *row = getParamSpecsFromNameBinSearch(nullptr, name);
    if (row->type == MX_PARAMTYPE_FLOAT)
      mxAppend(out, "%e;", ctx->opt.*row->dblPlace);
    else
      mxAppend(out, "%d;", ctx->opt.*row->intPlace);
  }
}

MXL_context *mxCsvOwner(MXL_context *ctx) {
  return ctx->rootContext != nullptr ? ctx->rootContext : ctx;
}

}  // namespace

std::string mxCsvHeader() {
  std::string header = std::string(kCsvProblemHeader) + kCsvSolveHeader;
  for (const char *name : kCsvOptions) mxAppend(header, "opt_%s;", name);
  return header;
}

std::string mxCsvRow(const MXL_context *ctx, int code, const MxProblemCounts &counts,
                     const MxSolveStats &stats) {
  std::string row;
  mxAppendProblem(row, counts);
  mxAppendSolve(row, code, stats);
  mxAppendOptions(row, ctx);
  return row;
}

// Opens the table for appending; a new or empty file gets the header.
bool openCSVfile(MXL_context *ctx) {
  if (ctx->output->csvFile) return true;
  const std::string &name = ctx->opt.out_csvname;
  MxFile file = openOutputFile(ctx, name.empty() ? "morvex_solve.csv" : name.c_str(), "a");
  if (!file) return false;
  std::fseek(file.get(), 0, SEEK_END);
  if (std::ftell(file.get()) == 0) std::fprintf(file.get(), "%s\n", mxCsvHeader().c_str());
  ctx->output->csvFile = std::move(file);
  return true;
}

void closeCSVfile(MXL_context *ctx) { ctx->output->csvFile.reset(); }

void printCSVsolveInfo(MXL_context *ctx, int code, const MxProblemCounts &counts,
                       const MxSolveStats &stats) {
  const std::string row = mxCsvRow(ctx, code, counts, stats);
  std::lock_guard<std::mutex> lock(mxCsvLock());
  MXL_context *owner = mxCsvOwner(ctx);
  if (!openCSVfile(owner)) return;
  std::fprintf(owner->output->csvFile.get(), "%s\n", row.c_str());
  std::fflush(owner->output->csvFile.get());
}
