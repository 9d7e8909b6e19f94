// Sizes, row tables and per-leg values of the barrier problem.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "interface/context.h"

void BarrierStateDeleter::operator()(BarrierState *p) const { delete p; }

// Rows of badly scaled constraints are divided down to moderate gradients:
// the merit function, the multipliers' sizes and the absolute shifts of the
// step systems then weigh all rows alike.
void barrierScaleRows(BarrierState &b, const std::vector<double> &factor) {
  for (BarRow &row : b.rows) {
    if (row.onVariable()) continue;
    row.scale = factor[row.item];
    row.bound *= row.scale;
  }
}

namespace {

constexpr double kFixedTol = 4.440892098500626e-16;

bool barFinite(double v, double range) { return std::fabs(v) < range; }

bool barEqualBounds(double lo, double up) {
  return std::fabs(up - lo) <= kFixedTol * std::max(1.0, std::max(std::fabs(lo), std::fabs(up)));
}

// Rows of one class, appended in the order of the model.
void barAddConRows(const PreModel &p, double range, bool equalities, std::vector<BarRow> &rows) {
  for (int i = 0; i < p.m; ++i) {
    const double lo = p.cLo[i], up = p.cUp[i];
    const bool fl = barFinite(lo, range), fu = barFinite(up, range);
    if (!fl && !fu) continue;  // a free row constrains nothing
    const bool eq = fl && fu && barEqualBounds(lo, up);
    if (eq != equalities) continue;
    if (eq) {
      rows.push_back({BAR_ROW_EQ, i, -1, lo});
      continue;
    }
    if (fl) rows.push_back({BAR_ROW_INEQ_LO, i, -1, lo});
    if (fu) rows.push_back({BAR_ROW_INEQ_UP, i, -1, up});
  }
}

void barAddVarRows(const PreModel &p, double range, bool fixed, std::vector<BarRow> &rows) {
  for (int j = 0; j < p.n; ++j) {
    const double lo = p.xLo[j], up = p.xUp[j];
    const bool fl = barFinite(lo, range), fu = barFinite(up, range);
    const bool isFixed = fl && fu && barEqualBounds(lo, up);
    if (isFixed != fixed) continue;
    if (isFixed) {
      rows.push_back({BAR_ROW_FIXED, j, -1, lo});
      continue;
    }
    if (fl) rows.push_back({BAR_ROW_BOUND_LO, j, -1, lo});
    if (fu) rows.push_back({BAR_ROW_BOUND_UP, j, -1, up});
  }
}

void barIndexRows(BarrierState &b) {
  b.conFirstRow.assign(b.m, -1);
  b.conRowCount.assign(b.m, 0);
  b.varBoundRows[0].assign(b.nX, -1);
  b.varBoundRows[1].assign(b.nX, -1);
  b.varFixedRow.assign(b.nX, -1);
  b.slackRow.clear();
  b.nEq = b.nIneq = b.nFixed = b.nBoundRows = 0;
  for (int r = 0; r < b.mFull; ++r) {
    BarRow &row = b.rows[r];
    switch (row.kind) {
      case BAR_ROW_EQ: ++b.nEq; break;
      case BAR_ROW_INEQ_LO: case BAR_ROW_INEQ_UP: ++b.nIneq; break;
      case BAR_ROW_FIXED: ++b.nFixed; b.varFixedRow[row.item] = r; break;
      default:
        ++b.nBoundRows;
        b.varBoundRows[row.kind == BAR_ROW_BOUND_LO ? 0 : 1][row.item] = r;
    }
    if (row.kind <= BAR_ROW_INEQ_UP) {
      if (b.conFirstRow[row.item] < 0) b.conFirstRow[row.item] = r;
      ++b.conRowCount[row.item];
    }
    if (row.kind == BAR_ROW_INEQ_LO || row.kind == BAR_ROW_INEQ_UP || row.kind >= BAR_ROW_BOUND_LO) {
      row.slack = static_cast<int>(b.slackRow.size());
      b.slackRow.push_back(r);
    }
  }
}

}  // namespace

void barrierSizes(MXL_context *ctx, BarrierState &b) {
  const PreModel &p = ctx->pre;
  const double range = ctx->opt.bndrange;
  b.n = p.n;
  b.m = p.m;
  b.objSign = p.objSign;
  b.rows.clear();
  barAddConRows(p, range, true, b.rows);
  barAddConRows(p, range, false, b.rows);
  barAddVarRows(p, range, true, b.rows);
  barAddVarRows(p, range, false, b.rows);
  penaltyBarSetup(ctx, b);
  b.mFull = static_cast<int>(b.rows.size());
  barIndexRows(b);
  b.nSlacks = static_cast<int>(b.slackRow.size());
  b.nFull = b.nX + b.nSlacks;
  b.nnzJ = ctx->pat.jac.nnz;
  b.nnzH = ctx->pat.hess.nnz;
  b.jacCons = ctx->pat.jac.indexCons.data();
  b.jacVars = ctx->pat.jac.indexVars.data();
  b.jacRowPtr = ctx->pat.jac.rowPtr.data();
  b.hessI = ctx->pat.hess.indexVars1.data();
  b.hessJ = ctx->pat.hess.indexVars2.data();
}

void barrierAllocate(BarrierState &b) {
  const size_t nf = static_cast<size_t>(b.nFull), mf = static_cast<size_t>(b.mFull);
  for (auto *v : {&b.x, &b.xTrial, &b.d, &b.dAff, &b.dCorr, &b.gradPhi, &b.Hd, &b.workFull, &b.dSave})
    v->assign(nf, 0.0);
  for (auto *v : {&b.lambda, &b.lambdaTrial, &b.c, &b.cTrial, &b.dLambda, &b.dLambdaAff, &b.dLambdaCorr,
                  &b.workRows, &b.dLambdaSave})
    v->assign(mf, 0.0);
  b.cModel.assign(b.m, 0.0);
  b.cModelTrial.assign(b.m, 0.0);
  b.gModel.assign(b.n, 0.0);
  b.gModelTrial.assign(b.n, 0.0);
  b.workN.assign(b.n, 0.0);
  b.workM.assign(b.m, 0.0);
  b.jacVals.assign(static_cast<size_t>(b.nnzJ), 0.0);
  b.hessVals.assign(static_cast<size_t>(b.nnzH), 0.0);
  b.lambdaUser.assign(static_cast<size_t>(b.m + b.n), 0.0);
  b.lambdaApp.assign(static_cast<size_t>(b.m + b.n), 0.0);
  b.xApp.assign(b.n, 0.0);
  b.cApp.assign(b.m, 0.0);
  b.rApp.assign(b.n, 0.0);
}

void initvals(MXL_context *ctx, BarrierState &b) {
  const MxOptionBlock &o = ctx->opt;
  b.muFloorRef = 3e-16;
  b.barSlackFloor = 5e-16;
  b.delta = std::sqrt(static_cast<double>(std::max(b.n, 1))) * (ctx->isLP ? 1e10 : o.delta);
  b.nu = b.nuHigh = b.nuAccepted = o.initpenalty;
  b.nuLow = 1e-6 * o.initpenalty;
  b.stepOutcome = BAR_STEP_ACCEPTED;
  b.stepKind = 2;
  b.alpha = 1.0;
  b.iterCount = b.totalIterCount = b.muIterCount = b.muIterCountAll = 0;
  b.consecutiveCG = b.smallStepCount = 0;
  std::fill(std::begin(b.lastStepAlphas), std::end(b.lastStepAlphas), 0.0);
  b.tinyStepDrops = b.refinements = b.rejections = b.tinyDirectSteps = b.restartCount = 0;
  b.solutionFound = b.needMuUpdate = b.monotoneDrop = b.forceFGUpdate = false;
  b.safeguardMode = false;
  b.safeguardCount = b.failCount = 0;
  b.filterF.clear();
  b.filterFeas.clear();
  b.kktHistory.clear();
  b.kktBest = 1e300;
  b.kktBestIter = 0;
  b.pertH = b.pertHLast = b.pertHMin = 0.0;
  b.guardLambda = 0.0;
  b.feasibleMode = false;
  b.directRetries = 0;
  b.watchdog = BarWatchdog();
  b.regKKT = 0.0;
  b.regKKTLevel = b.singularCount = 0;
  b.regKKTFlag = false;
  b.xtolRun = b.ftolRun = b.infeasStall = b.infeasStationary = 0;
  b.tinyReductions = b.noiseAccepts = 0;
  b.feasScaleSet = false;
  b.everFeasible = false;
  b.lastPrintedIter = -1;
}
