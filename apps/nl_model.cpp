// Loading AMPL .nl models through the AMPL solver library.
#include "apps/nl_model.h"

#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unistd.h>

#include "asl_pfgh.h"

struct NlModel {
  ASL *asl = nullptr;
  std::string tempFile;  // the unpacked copy of a gzipped model
  std::mutex evalLock;   // the library's evaluation state is shared
  int nlCons = 0, nlObj = 0;
  // Places of the callback's Jacobian entries in the library's Jacobian.
  std::vector<int> jacGoff;
  std::vector<double> jacBuffer, conBuffer;
  // Hessian of the Lagrangian, upper triangle by columns.
  std::vector<int> hessRow, hessCol;
  std::vector<double> hessBuffer, yBuffer;
  ~NlModel() {
    if (asl != nullptr) ASL_free(&asl);
    if (!tempFile.empty()) std::remove(tempFile.c_str());
  }
};

void NlModelDeleter::operator()(NlModel *m) const { delete m; }

namespace {

const double kBig = MX_INFINITY;

double nl_clip(double v) { return v <= -kBig ? -kBig : v >= kBig ? kBig : v; }

bool nl_ends_with(const std::string &s, const char *suffix) {
  const size_t n = std::strlen(suffix);
  return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

// Unpacks a gzipped model into a temporary .nl file.
bool nl_unpack(const std::string &path, std::string &out, std::string &error) {
  char name[] = "/tmp/morvex_nl_XXXXXX.nl";
  const int fd = mkstemps(name, 3);
  gzFile in = gzopen(path.c_str(), "rb");
  if (fd < 0 || in == nullptr) {
    if (fd >= 0) close(fd);
    if (in != nullptr) gzclose(in);
    error = "ERROR: Morvex could not open file '" + path + "' for input.\n";
    return false;
  }
  char buf[65536];
  int got;
  bool ok = true;
  while ((got = gzread(in, buf, sizeof buf)) > 0) ok = ok && write(fd, buf, static_cast<size_t>(got)) == got;
  gzclose(in);
  close(fd);
  out = name;
  if (!ok || got < 0) error = "ERROR: could not unpack '" + path + "'.\n";
  return ok && got >= 0;
}

// Integer variables: each nonlinear block ends with its integers, and the
// binary and other integer variables close the list.
std::vector<int> nl_types(ASL *asl) {
  std::vector<int> t(static_cast<size_t>(n_var), MX_VARTYPE_CONTINUOUS);
  auto mark = [&](int end, int count, int type) {
    for (int j = end - count; j < end; ++j) t[static_cast<size_t>(j)] = type;
  };
  mark(nlvb, nlvbi, MX_VARTYPE_INTEGER);
  mark(nlvc, nlvci, MX_VARTYPE_INTEGER);
  mark(nlvc + nlvo - nlvb, nlvoi, MX_VARTYPE_INTEGER);
  mark(n_var - niv, nbv, MX_VARTYPE_BINARY);
  mark(n_var, niv, MX_VARTYPE_INTEGER);
  return t;
}

int nl_callback(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res,
                void *user);

int nl_load_variables(NlModel &m, MX_context_ptr kc) {
  ASL *asl = m.asl;
  const int n = n_var;
  std::vector<double> lo(n), up(n);
  for (int j = 0; j < n; ++j) {
    lo[j] = nl_clip(LUv[2 * j]);
    up[j] = nl_clip(LUv[2 * j + 1]);
  }
  std::vector<int> types = nl_types(asl);
  int rc = MX_add_vars(kc, n, nullptr);
  if (rc == 0) rc = MX_set_var_lobnds_all(kc, lo.data());
  if (rc == 0) rc = MX_set_var_upbnds_all(kc, up.data());
  if (rc == 0 && (nbv + niv + nlvbi + nlvci + nlvoi) > 0) rc = MX_set_var_types_all(kc, types.data());
  for (int j = 0; rc == 0 && j < n; ++j)
    if (havex0 != nullptr && havex0[j]) rc = MX_set_var_primal_init_value(kc, j, X0[j]);
  return rc;
}

int nl_load_constraints(NlModel &m, MX_context_ptr kc) {
  ASL *asl = m.asl;
  int rc = MX_add_cons(kc, n_con, nullptr);
  std::vector<int> rows, vars;
  std::vector<double> coefs;
  for (int i = 0; rc == 0 && i < n_con; ++i) {
    rc = MX_set_con_lobnd(kc, i, nl_clip(LUrhs[2 * i]));
    if (rc == 0) rc = MX_set_con_upbnd(kc, i, nl_clip(LUrhs[2 * i + 1]));
    if (i < m.nlCons) continue;
    for (cgrad *cg = Cgrad[i]; cg != nullptr; cg = cg->next) {
      rows.push_back(i);
      vars.push_back(cg->varno);
      coefs.push_back(cg->coef);
    }
  }
  if (rc == 0 && !rows.empty())
    rc = MX_add_con_linear_struct(kc, static_cast<MX_nnz>(rows.size()), rows.data(), vars.data(), coefs.data());
  for (int i = 0; rc == 0 && pi0 != nullptr && havepi0 != nullptr && i < n_con; ++i)
    if (havepi0[i]) rc = MX_set_con_dual_init_value(kc, i, pi0[i]);
  return rc;
}

int nl_load_objective(NlModel &m, MX_context_ptr kc) {
  ASL *asl = m.asl;
  if (n_obj < 1) return 0;
  int rc = objtype[0] == 1 ? MX_set_obj_goal(kc, MX_OBJGOAL_MAXIMIZE) : 0;
  if (rc != 0 || m.nlObj > 0) return rc;  // a nonlinear objective goes through the callback
  std::vector<int> vars;
  std::vector<double> coefs;
  for (ograd *og = Ograd[0]; og != nullptr; og = og->next) {
    vars.push_back(og->varno);
    coefs.push_back(og->coef);
  }
  if (!vars.empty()) rc = MX_add_obj_linear_struct(kc, static_cast<MX_nnz>(vars.size()), vars.data(), coefs.data());
  const double constant = objconst(0);
  if (rc == 0 && constant != 0.0) rc = MX_add_obj_constant(kc, constant);
  return rc;
}

int nl_load_callback(NlModel &m, MX_context_ptr kc) {
  ASL *asl = m.asl;
  if (m.nlCons == 0 && m.nlObj == 0) return 0;
  std::vector<int> cons(static_cast<size_t>(m.nlCons));
  for (int i = 0; i < m.nlCons; ++i) cons[static_cast<size_t>(i)] = i;
  MX_cb_context_ptr cb = nullptr;
  int rc = MX_add_eval_callback(kc, m.nlObj > 0, m.nlCons, cons.data(), nl_callback, &cb);
  std::vector<int> objVars, jacCons, jacVars;
  for (ograd *og = m.nlObj > 0 ? Ograd[0] : nullptr; og != nullptr; og = og->next) objVars.push_back(og->varno);
  for (int i = 0; i < m.nlCons; ++i)
    for (cgrad *cg = Cgrad[i]; cg != nullptr; cg = cg->next) {
      jacCons.push_back(i);
      jacVars.push_back(cg->varno);
      m.jacGoff.push_back(cg->goff);
    }
  if (rc == 0) rc = MX_set_cb_user_params(kc, cb, &m);
  if (rc == 0)
    rc = MX_set_cb_grad(kc, cb, static_cast<int>(objVars.size()), objVars.data(),
                        static_cast<MX_nnz>(jacCons.size()), jacCons.data(), jacVars.data(), nl_callback);
  const fint nnzH = sphsetup(-1, 1, 1, 1);
  for (int j = 0; j < n_var; ++j)
    for (fint k = sputinfo->hcolstarts[j]; k < sputinfo->hcolstarts[j + 1]; ++k) {
      m.hessRow.push_back(sputinfo->hrownos[k]);
      m.hessCol.push_back(j);
    }
  m.hessBuffer.resize(static_cast<size_t>(nnzH));
  if (rc == 0) rc = MX_set_cb_hess(kc, cb, static_cast<MX_nnz>(m.hessRow.size()), m.hessRow.data(), m.hessCol.data(), nl_callback);
  return rc;
}

int nl_values(NlModel &m, MX_eval_request_ptr req, MX_eval_result_ptr res) {
  ASL *asl = m.asl;
  fint err = 0;
  if (m.nlObj > 0) *res->obj = objval(0, const_cast<double *>(req->x), &err);
  if (err == 0 && m.nlCons > 0) {
    conval(const_cast<double *>(req->x), m.conBuffer.data(), &err);
    for (int i = 0; i < m.nlCons; ++i) res->c[i] = m.conBuffer[static_cast<size_t>(i)];
  }
  return err == 0 ? 0 : MX_RC_EVAL_ERR;
}

int nl_first(NlModel &m, MX_eval_request_ptr req, MX_eval_result_ptr res) {
  ASL *asl = m.asl;
  fint err = 0;
  double *x = const_cast<double *>(req->x);
  if (m.nlObj > 0) {
    std::vector<double> g(static_cast<size_t>(n_var));
    objgrd(0, x, g.data(), &err);
    size_t k = 0;
    for (ograd *og = Ograd[0]; err == 0 && og != nullptr; og = og->next) res->objGrad[k++] = g[static_cast<size_t>(og->varno)];
  }
  if (err == 0 && m.nlCons > 0) {
    jacval(x, m.jacBuffer.data(), &err);
    for (size_t k = 0; k < m.jacGoff.size(); ++k) res->jac[k] = m.jacBuffer[static_cast<size_t>(m.jacGoff[k])];
  }
  return err == 0 ? 0 : MX_RC_EVAL_ERR;
}

int nl_second(NlModel &m, MX_eval_request_ptr req, MX_eval_result_ptr res) {
  ASL *asl = m.asl;
  const bool noF = req->type == MX_EVALTYPE_H_NO_F || req->type == MX_EVALTYPE_HV_NO_F;
  double ow = noF || m.nlObj == 0 ? 0.0 : *req->sigma;
  for (int i = 0; i < n_con; ++i) m.yBuffer[static_cast<size_t>(i)] = i < m.nlCons ? req->lambda[i] : 0.0;
  // The library evaluates the Hessian at the last point of a function call.
  fint err = 0;
  if (m.nlObj > 0) objval(0, const_cast<double *>(req->x), &err);
  if (m.nlCons > 0 && err == 0) conval(const_cast<double *>(req->x), m.conBuffer.data(), &err);
  if (err != 0) return MX_RC_EVAL_ERR;
  sphes(m.hessBuffer.data(), -1, &ow, m.yBuffer.data());
  if (req->type == MX_EVALTYPE_H || req->type == MX_EVALTYPE_H_NO_F) {
    for (size_t k = 0; k < m.hessBuffer.size(); ++k) res->hess[k] = m.hessBuffer[k];
    return 0;
  }
  for (int j = 0; j < n_var; ++j) res->hessVec[j] = 0.0;
  for (size_t k = 0; k < m.hessBuffer.size(); ++k) {
    const int r = m.hessRow[k], c = m.hessCol[k];
    res->hessVec[r] += m.hessBuffer[k] * req->vec[c];
    if (r != c) res->hessVec[c] += m.hessBuffer[k] * req->vec[r];
  }
  return 0;
}

int nl_callback(MX_context_ptr, MX_cb_context_ptr, MX_eval_request_ptr req, MX_eval_result_ptr res, void *user) {
  NlModel &m = *static_cast<NlModel *>(user);
  std::lock_guard<std::mutex> lock(m.evalLock);
  switch (req->type) {
    case MX_EVALTYPE_FC: return nl_values(m, req, res);
    case MX_EVALTYPE_GA: return nl_first(m, req, res);
    case MX_EVALTYPE_FCGA: {
      const int rc = nl_values(m, req, res);
      return rc != 0 ? rc : nl_first(m, req, res);
    }
    default: return nl_second(m, req, res);
  }
}

}  // namespace

NlModelPtr nlRead(const std::string &path, std::string &error) {
  NlModelPtr m(new NlModel());
  std::string file = path;
  if (nl_ends_with(path, ".gz")) {
    if (!nl_unpack(path, m->tempFile, error)) return nullptr;
    file = m->tempFile;
  }
  ASL *asl = ASL_alloc(ASL_read_pfgh);
  m->asl = asl;
  FILE *nl = jac0dim(const_cast<char *>(file.c_str()), static_cast<fint>(file.size()));
  if (nl == nullptr) {
    error = "ERROR: Morvex could not open file '" + path + "' for input.\n";
    return nullptr;
  }
  X0 = static_cast<double *>(M1alloc(static_cast<size_t>(n_var) * sizeof(double)));
  havex0 = static_cast<char *>(M1alloc(static_cast<size_t>(n_var)));
  pi0 = static_cast<double *>(M1alloc(static_cast<size_t>(n_con > 0 ? n_con : 1) * sizeof(double)));
  havepi0 = static_cast<char *>(M1alloc(static_cast<size_t>(n_con > 0 ? n_con : 1)));
  want_xpi0 = 3;
  if (pfgh_read(nl, ASL_return_read_err | ASL_findgroups) != 0) {
    error = "ERROR: could not read the model in '" + path + "'.\n";
    return nullptr;
  }
  m->nlCons = nlc;
  m->nlObj = n_obj > 0 ? nlo : 0;
  m->jacBuffer.resize(static_cast<size_t>(nzc > 0 ? nzc : 1));
  m->conBuffer.resize(static_cast<size_t>(n_con > 0 ? n_con : 1));
  m->yBuffer.resize(static_cast<size_t>(n_con > 0 ? n_con : 1));
  return m;
}

NlSummary nlSummary(const NlModel &model) {
  ASL *asl = model.asl;
  NlSummary s;
  s.n = n_var;
  s.m = n_con;
  s.nonlinearCons = model.nlCons;
  s.nonlinearObj = model.nlObj > 0;
  s.binaries = nbv;
  s.integers = niv + nlvbi + nlvci + nlvoi;
  s.hasObjective = n_obj > 0;
  s.maximize = n_obj > 0 && objtype[0] == 1;
  return s;
}

int nlLoad(NlModel &model, MX_context_ptr kc) {
  int rc = nl_load_variables(model, kc);
  if (rc == 0) rc = nl_load_constraints(model, kc);
  if (rc == 0) rc = nl_load_objective(model, kc);
  if (rc == 0) rc = nl_load_callback(model, kc);
  return rc;
}

bool nlEvaluate(NlModel &model, const double *x, double *obj, double *c) {
  std::lock_guard<std::mutex> lock(model.evalLock);
  ASL *asl = model.asl;
  fint err = 0;
  *obj = n_obj > 0 ? objval(0, const_cast<double *>(x), &err) : 0.0;
  if (err == 0 && n_con > 0) conval(const_cast<double *>(x), c, &err);
  return err == 0;
}

std::vector<double> nlStartPoint(const NlModel &model) {
  ASL *asl = model.asl;
  std::vector<double> x(static_cast<size_t>(n_var), 0.0);
  for (int j = 0; j < n_var; ++j)
    if (havex0 != nullptr && havex0[j]) x[static_cast<size_t>(j)] = X0[j];
  return x;
}

NlBounds nlBounds(const NlModel &model) {
  ASL *asl = model.asl;
  NlBounds b;
  for (int j = 0; j < n_var; ++j) {
    b.varLo.push_back(LUv[2 * j]);
    b.varUp.push_back(LUv[2 * j + 1]);
  }
  for (int i = 0; i < n_con; ++i) {
    b.conLo.push_back(LUrhs[2 * i]);
    b.conUp.push_back(LUrhs[2 * i + 1]);
  }
  return b;
}

bool nlWriteSolution(NlModel &model, const std::string &message, const double *x, const double *y,
                     int solveResultNum) {
  ASL *asl = model.asl;
  solve_result_num = solveResultNum;
  write_sol(const_cast<char *>(message.c_str()), const_cast<double *>(x), const_cast<double *>(y), nullptr);
  return true;
}

bool nlObjGradient(NlModel &model, const double *x, double *g) {
  std::lock_guard<std::mutex> lock(model.evalLock);
  ASL *asl = model.asl;
  fint err = 0;
  if (n_obj < 1) {
    for (int j = 0; j < n_var; ++j) g[j] = 0.0;
    return true;
  }
  objval(0, const_cast<double *>(x), &err);
  if (err == 0) objgrd(0, const_cast<double *>(x), g, &err);
  return err == 0;
}

bool nlConGradient(NlModel &model, int i, const double *x, double *g) {
  std::lock_guard<std::mutex> lock(model.evalLock);
  ASL *asl = model.asl;
  fint err = 0;
  conval(const_cast<double *>(x), model.conBuffer.data(), &err);
  for (int j = 0; j < n_var; ++j) g[j] = 0.0;
  if (err == 0) congrd(i, const_cast<double *>(x), g, &err);
  return err == 0;
}

bool nlReadSolution(NlModel &model, const std::string &solPath, std::string &message, std::vector<double> &x,
                    std::vector<double> &y, int &solveResultNum) {
  ASL *asl = model.asl;
  double *xs = nullptr, *ys = nullptr;
  solve_result_num = -1;
  char *msg = fread_soln(const_cast<char *>(solPath.c_str()), &xs, &ys);
  if (msg == nullptr) return false;
  message = msg;
  x.assign(xs != nullptr ? xs : nullptr, xs != nullptr ? xs + n_var : nullptr);
  y.assign(ys != nullptr ? ys : nullptr, ys != nullptr ? ys + n_con : nullptr);
  solveResultNum = solve_result_num;
  return true;
}
