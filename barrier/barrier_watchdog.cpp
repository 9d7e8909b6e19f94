// The watchdog: a direct step that the merit function rejects is taken
// anyway, and so is the next one; the step after that must reduce the merit
// function below its value where the watchdog started, or the method goes
// back there and searches along the stored step as usual. This lets the
// iterates pass a curved valley that a monotone search cannot follow.
#include <algorithm>
#include <cmath>

#include "barrier/barrier.h"
#include "interface/context.h"

namespace {

// Applies f(iterate's vector, stored vector) to everything the watchdog keeps.
template <class F>
void wdPairs(BarrierState &b, BarWatchdog &w, F f) {
  f(b.x, w.x);
  f(b.lambda, w.lambda);
  f(b.c, w.c);
  f(b.cModel, w.cModel);
  f(b.gModel, w.gModel);
  f(b.jacVals, w.jacVals);
  f(b.hessVals, w.hessVals);
  f(b.d, w.d);
  f(b.dLambda, w.dLambda);
}

}  // namespace

// Whether a rejected trial of a direct step starts the watchdog; stores the
// point when it does.
bool barrierWatchdogCheck(MXL_context *ctx, BarrierState &b) {
  BarWatchdog &w = b.watchdog;
  if (ctx->opt.bar_watchdog != 1 || w.state != 0 || !b.directStepOk) return false;
  if (w.budget < 5 || w.count >= 10 || b.iterCount < 1 || !ctx->comp.index1.empty()) return false;
  ++w.count;
  w.budget = 0;
  barrierWatchdogStore(b);
  w.state = 1;
  w.justEntered = true;
  return true;
}

void barrierWatchdogStore(BarrierState &b) {
  BarWatchdog &w = b.watchdog;
  wdPairs(b, w, [](std::vector<double> &it, std::vector<double> &kept) { kept.assign(it.begin(), it.end()); });
  w.fObj = b.fObj;
  w.phi = b.phi;
  w.cNorm = b.cNorm;
  w.merit = b.phi + b.nuUsed * b.cNorm;
  w.nuMerit = b.nuUsed;
  w.delta = b.delta;
  w.nu = b.nu;
  w.stepKind = b.stepKind;
  w.mu = b.mu;
}

// Back to the point where the watchdog started, with its step.
void barrierWatchdogRestore(BarrierState &b) {
  BarWatchdog &w = b.watchdog;
  wdPairs(b, w, [](std::vector<double> &it, std::vector<double> &kept) { it.assign(kept.begin(), kept.end()); });
  // The elastic weight may have moved since: the objective is rebuilt.
  b.fObj = w.fObj;
  b.fTilde = penaltyBarObjective(b, b.x.data(), b.fObj);
  b.delta = w.delta;
  b.nu = w.nu;
  b.stepKind = w.stepKind;
  b.mu = w.mu;
  barrierUpdateFG(b);
  b.xNorm = norm2(b.nX, b.x.data());
  b.directStepOk = true;
  b.stepNorm = norm2(b.nFull, b.d.data());
  w.state = 0;
  b.cg.factoredHere = false;
}

// After an accepted step: the watchdog moves on, or ends when the step of
// its second stage beat the stored merit value.
void barrierWatchdogAdvance(BarrierState &b, bool beatStored) {
  BarWatchdog &w = b.watchdog;
  ++w.budget;
  if (w.state == 1) {
    if (w.justEntered)
      w.justEntered = false;
    else
      w.state = 2;
  } else if (w.state == 2 && beatStored) {
    w.state = 0;
  }
}
