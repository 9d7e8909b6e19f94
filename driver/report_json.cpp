// The JSON report: the model as given and as presolved, the result, the
// presolve reductions and the solution with its bounds.
#include <cjson/cJSON.h>

#include <cstdio>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "driver/output.h"
#include "driver/print.h"
#include "driver/report.h"
#include "interface/context.h"

namespace {

const char *mxObjectiveTypeWord(int type) {
  switch (type) {
    case MX_OBJTYPE_LINEAR: return "linear";
    case MX_OBJTYPE_QUADRATIC: return "quadratic";
    case MX_OBJTYPE_GENERAL: return "general";
    default: return "constant";
  }
}

void mxAddInts(cJSON *obj, std::initializer_list<std::pair<const char *, double>> fields) {
  for (const auto &f : fields) cJSON_AddNumberToObject(obj, f.first, f.second);
}

cJSON *mxModelSection(const MxProblemCounts &c) {
  cJSON *model = cJSON_CreateObject();
  cJSON_AddStringToObject(model, "ObjectiveGoal",
                          c.objGoal == MX_OBJGOAL_MAXIMIZE ? "Maximize" : "Minimize");
  cJSON_AddStringToObject(model, "ObjectiveType", mxObjectiveTypeWord(c.objType));
  cJSON *vars = cJSON_AddObjectToObject(model, "Variables");
  mxAddInts(vars, {{"NumberOfVariables", c.n}, {"BoundedBelowOnly", c.boundedBelow},
                   {"BoundedAboveOnly", c.boundedAbove}, {"BoundedBelowAndAbove", c.boundedBoth},
                   {"Fixed", c.fixed}, {"Free", c.free}, {"NumberOfBinaryVariables", c.binary},
                   {"NumberOfIntegerVariables", c.integer}});
  cJSON *cons = cJSON_AddObjectToObject(model, "Constraints");
  mxAddInts(cons, {{"NumberOfConstraints", c.m}, {"LinearEqualities", c.linEq},
                   {"QuadraticEqualities", c.quadEq}, {"GeneralNonlinearEqualities", c.nlEq},
                   {"LinearOneSidedInequalities", c.linIneq},
                   {"QuadraticOneSidedInequalities", c.quadIneq},
                   {"GeneralNonlinearOneSidedInequalities", c.nlIneq},
                   {"LinearTwoSidedInequalities", c.linRange},
                   {"QuadraticTwoSidedInequalities", c.quadRange},
                   {"GeneralNonlinearTwoSidedInequalities", c.nlRange}});
  mxAddInts(model, {{"NumberOfComplementarities", c.comps}, {"NumberOfResiduals", c.residuals},
                    {"NumberOfNonZerosInJacobian", static_cast<double>(c.nnzJ)},
                    {"NumberOfNonZerosInHessian", static_cast<double>(c.nnzH)}});
  return model;
}

// Infinite bounds are the texts "+inf" and "-inf", since JSON has no
// number for them.
cJSON *mxBound(double value) {
  if (value >= MX_INF) return cJSON_CreateString("+inf");
  if (value <= -MX_INF) return cJSON_CreateString("-inf");
  return cJSON_CreateNumber(value);
}

std::string mxVarName(const MXL_context *ctx, int i) {
  if (ctx->var.name.exists() && ctx->var.hasName[i]) return ctx->var.name.v[i];
  return "x[" + std::to_string(i) + "]";
}

cJSON *mxSolutionSection(const MXL_context *ctx) {
  cJSON *solution = cJSON_CreateArray();
  for (int i = 0; i < ctx->n; ++i) {
    cJSON *entry = cJSON_CreateObject();
    cJSON_AddStringToObject(entry, "Name", mxVarName(ctx, i).c_str());
    cJSON_AddNumberToObject(entry, "Value", ctx->var.x[i]);
    cJSON *bound = cJSON_AddObjectToObject(entry, "Bound");
    cJSON_AddItemToObject(bound, "Lower", mxBound(ctx->var.lo[i]));
    cJSON_AddItemToObject(bound, "Upper", mxBound(ctx->var.up[i]));
    cJSON_AddItemToArray(solution, entry);
  }
  return solution;
}

cJSON *mxPresolveSection(const MxPresolveCounts &p) {
  cJSON *presolve = cJSON_CreateObject();
  mxAddInts(presolve, {{"NbPasses", p.passes}, {"NbFixed", p.fixed}, {"NbSingCon", p.singCon},
                       {"NbForcing", p.forcing}, {"NbSingDoubleton", p.singDoubleton},
                       {"NbSingVar", p.singVar}, {"NbVarBndStrengthening", p.varBndStrengthening},
                       {"NbVarCoeffStrengthening", p.varCoeffStrengthening},
                       {"NbRedundantCstr", p.redundantCstr}, {"NbImpliedComp", p.impliedComp},
                       {"NbSimpleSubstitution", p.simpleSubstitution}});
  return presolve;
}

// A section replaces one of the same name, so a re-solve reports itself.
void mxSetSection(cJSON *root, const char *name, cJSON *section) {
  if (cJSON_GetObjectItemCaseSensitive(root, name) != nullptr)
    cJSON_ReplaceItemInObjectCaseSensitive(root, name, section);
  else
    cJSON_AddItemToObject(root, name, section);
}

int mxWriteText(MXL_context *ctx, const char *text) {
  const std::string &name = ctx->opt.out_jsonname;
  MxFile file = openOutputFile(ctx, name.empty() ? "morvex.json" : name.c_str(), "w");
  if (!file) return MX_RC_OPEN_FILE_ERR;
  std::fputs(text, file.get());
  std::fputs("\n", file.get());
  return std::ferror(file.get()) ? MX_RC_OPEN_FILE_ERR : 0;
}

}  // namespace

void printJSONapplicationModelInfo(cJSON *root, const MxProblemCounts &counts) {
  mxSetSection(root, "ApplicationModel", mxModelSection(counts));
}

void printJSONpresolvedModelInfo(cJSON *root, const MxProblemCounts &counts) {
  mxSetSection(root, "PresolvedModel", mxModelSection(counts));
}

int mxWriteJSON(MXL_context *ctx, cJSON *root, int code, const MxProblemCounts &c,
                const MxSolveStats &s, const MxPresolveCounts &presolve) {
  cJSON *problem = cJSON_CreateObject();
  mxAddInts(problem, {{"NbVariables", c.n}, {"NbConstraints", c.m},
                      {"NbJacobianNZ", static_cast<double>(c.nnzJ)},
                      {"NbHessianNZ", static_cast<double>(c.nnzH)}});
  mxSetSection(root, "Problem", problem);
  cJSON *output = cJSON_CreateObject();
  mxAddInts(output, {{"Value", s.objective}, {"Time", s.realTime},
                     {"Algorithm", ctx->resolvedAlgorithm}, {"Status", code},
                     {"NumberOfIterations", s.iterations}});
  mxSetSection(root, "Output", output);
  mxSetSection(root, "Presolve", mxPresolveSection(presolve));
  mxSetSection(root, "Solution", mxSolutionSection(ctx));
  std::unique_ptr<char, void (*)(void *)> text(cJSON_Print(root), cJSON_free);
  if (!text) throw std::bad_alloc();
  return mxWriteText(ctx, text.get());
}
