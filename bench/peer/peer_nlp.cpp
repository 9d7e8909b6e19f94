// The model as the peer solver's TNLP, and one solve with its defaults.
#include <IpIpoptApplication.hpp>
#include <IpSolveStatistics.hpp>
#include <IpTNLP.hpp>

#include <algorithm>
#include <vector>

#include "bench/peer/peer_model.h"
#include "bench/peer/peer_run.h"

using Ipopt::Index;
using Ipopt::Number;

namespace {

const double kFeasibleTol = 1e-6;

// The peer minimises: a maximised objective is negated on the way in and
// the final value is given back in the model's sense.
class PeerNlp : public Ipopt::TNLP {
 public:
  explicit PeerNlp(PeerModel &model) : model_(model), shape_(peer_shape(model)) {
    sense_ = shape_.maximize ? -1.0 : 1.0;
  }

  bool get_nlp_info(Index &n, Index &m, Index &nnzJac, Index &nnzHess, IndexStyleEnum &style) override {
    n = shape_.n;
    m = shape_.m;
    nnzJac = shape_.jacNnz;
    nnzHess = shape_.hessNnz;
    style = C_STYLE;
    return true;
  }

  bool get_bounds_info(Index, Number *xl, Number *xu, Index, Number *gl, Number *gu) override {
    peer_var_bounds(model_, xl, xu);
    peer_con_bounds(model_, gl, gu);
    return true;
  }

  bool get_starting_point(Index, bool initX, Number *x, bool, Number *, Number *, Index, bool,
                          Number *) override {
    if (initX) peer_start(model_, x);
    return true;
  }

  bool eval_f(Index, const Number *x, bool, Number &f) override {
    ++objEvals_;
    if (!peer_obj(model_, x, f)) return false;
    f *= sense_;
    return true;
  }

  bool eval_grad_f(Index n, const Number *x, bool, Number *g) override {
    if (!peer_obj_grad(model_, x, g)) return false;
    for (Index j = 0; j < n; ++j) g[j] *= sense_;
    return true;
  }

  bool eval_g(Index, const Number *x, bool, Index, Number *g) override { return peer_cons(model_, x, g); }

  bool eval_jac_g(Index, const Number *x, bool, Index, Index, Index *rows, Index *cols, Number *values) override {
    if (values == nullptr) {
      peer_jac_structure(model_, rows, cols);
      return true;
    }
    return peer_jac(model_, x, values);
  }

  bool eval_h(Index, const Number *x, bool, Number objFactor, Index, const Number *lambda, bool, Index,
              Index *rows, Index *cols, Number *values) override {
    if (values == nullptr) {
      peer_hess_structure(model_, rows, cols);
      return true;
    }
    return peer_hess(model_, x, sense_ * objFactor, lambda, values);
  }

  // The final values are evaluated here: on some ends (the time limit) the
  // peer hands over a zero objective with the point.
  void finalize_solution(Ipopt::SolverReturn, Index n, const Number *x, const Number *, const Number *, Index m,
                         const Number *, const Number *, Number, const Ipopt::IpoptData *,
                         Ipopt::IpoptCalculatedQuantities *) override {
    if (x == nullptr) return;
    std::vector<double> c(static_cast<size_t>(std::max(m, 1)));
    double f = 0.0;
    if (!peer_obj(model_, x, f) || !peer_cons(model_, x, c.data())) return;
    finalized_ = true;
    objective_ = f;
    violation_ = n > 0 ? peer_violation(model_, x, c.data()) : 0.0;
  }

  int objEvals() const { return objEvals_; }
  bool finalized() const { return finalized_; }
  double objective() const { return objective_; }
  double violation() const { return violation_; }

 private:
  PeerModel &model_;
  PeerShape shape_;
  double sense_ = 1.0;
  int objEvals_ = 0;
  bool finalized_ = false;
  double objective_ = 0.0, violation_ = 0.0;
};

void peer_set_options(Ipopt::IpoptApplication &app, double timeLimit) {
  Ipopt::OptionsList &options = *app.Options();
  options.SetIntegerValue("print_level", 0);
  options.SetStringValue("sb", "yes");  // no banner
  options.SetNumericValue("max_cpu_time", timeLimit);
  options.SetNumericValue("nlp_lower_bound_inf", -PEER_INFINITY);
  options.SetNumericValue("nlp_upper_bound_inf", PEER_INFINITY);
}

}  // namespace

PeerResult peer_solve_file(const std::string &path, double timeLimit) {
  PeerResult result;
  std::string error;
  PeerModelPtr model = peer_read(path, error);
  if (!model) {
    result.status = PEER_RC_READ_ERROR;
    result.notes = error;
    return result;
  }
  const PeerShape shape = peer_shape(*model);
  result.n = shape.n;
  result.m = shape.m;
  if (shape.integers > 0) result.notes = "relaxed " + std::to_string(shape.integers) + " integer variables";

  Ipopt::SmartPtr<Ipopt::IpoptApplication> app = IpoptApplicationFactory();
  peer_set_options(*app, timeLimit);
  // No options file: an ipopt.opt in the working folder must not change the defaults.
  if (app->Initialize("") != Ipopt::Solve_Succeeded) {
    result.status = PEER_RC_BAD_OPTION;
    return result;
  }
  Ipopt::SmartPtr<PeerNlp> nlp = new PeerNlp(*model);
  const Ipopt::ApplicationReturnStatus status = app->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(GetRawPtr(nlp)));
  result.feasError = nlp->violation();
  result.status = peer_map_status(static_cast<int>(status), nlp->finalized() && nlp->violation() <= kFeasibleTol);
  result.haveObjective = nlp->finalized();
  result.objective = nlp->objective();
  result.evaluations = nlp->objEvals();
  if (Ipopt::IsValid(app->Statistics())) result.iterations = app->Statistics()->IterationCount();
  return result;
}
