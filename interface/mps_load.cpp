// Whole models in one call: from an MPS file, to an MPS file, and the bulk
// loaders of linear and quadratic models. Everything goes through the
// ordinary exported calls, so a loaded model is the same as one built by hand.
#include <cmath>
#include <vector>

#include "interface/mps_model.h"
#include "interface/items.h"
#include "interface/structures.h"

namespace {

const double kInf = MX_INF;

// Runs the calls of a load in order; the first failing one decides.
struct MxLoadSteps {
  int rc = 0;
  template <class F>
  MxLoadSteps &then(F &&call) {
    if (rc == 0) rc = call();
    return *this;
  }
};

void mps_row_bounds(const MpsRow &r, double &lo, double &up) {
  lo = -kInf;
  up = kInf;
  const double a = std::fabs(r.range);
  if (r.kind == 'E') {
    lo = up = r.rhs;
    if (r.hasRange && r.range < 0.0) lo = r.rhs + r.range;
    if (r.hasRange && r.range > 0.0) up = r.rhs + r.range;
  } else if (r.kind == 'L') {
    up = r.rhs;
    if (r.hasRange) lo = r.rhs - a;
  } else if (r.kind == 'G') {
    lo = r.rhs;
    if (r.hasRange) up = r.rhs + a;
  }
}

std::vector<char *> mps_name_pointers(std::vector<std::string> &names) {
  std::vector<char *> p;
  for (std::string &s : names) p.push_back(&s[0]);
  return p;
}

int mps_load_columns(MX_context_ptr kc, const MpsModel &m) {
  const int n = static_cast<int>(m.cols.size());
  std::vector<double> lo(n), up(n);
  std::vector<int> types(n);
  std::vector<std::string> names(n);
  for (int j = 0; j < n; ++j) {
    lo[j] = m.cols[j].lo;
    up[j] = m.cols[j].up;
    types[j] = m.cols[j].integer ? MX_VARTYPE_INTEGER : MX_VARTYPE_CONTINUOUS;
    names[j] = m.cols[j].name;
  }
  std::vector<char *> np = mps_name_pointers(names);
  return MxLoadSteps()
      .then([&] { return MX_add_vars(kc, n, nullptr); })
      .then([&] { return MX_set_var_types_all(kc, types.data()); })
      .then([&] { return MX_set_var_lobnds_all(kc, lo.data()); })
      .then([&] { return MX_set_var_upbnds_all(kc, up.data()); })
      .then([&] { return n > 0 ? MX_set_var_names_all(kc, np.data()) : 0; })
      .rc;
}

int mps_load_rows(MX_context_ptr kc, const MpsModel &m) {
  const int rows = static_cast<int>(m.rows.size());
  std::vector<double> lo(rows), up(rows);
  std::vector<std::string> names(rows);
  for (int i = 0; i < rows; ++i) {
    mps_row_bounds(m.rows[i], lo[i], up[i]);
    names[i] = m.rows[i].name;
  }
  std::vector<char *> np = mps_name_pointers(names);
  return MxLoadSteps()
      .then([&] { return MX_add_cons(kc, rows, nullptr); })
      .then([&] { return MX_set_con_lobnds_all(kc, lo.data()); })
      .then([&] { return MX_set_con_upbnds_all(kc, up.data()); })
      .then([&] { return rows > 0 ? MX_set_con_names_all(kc, np.data()) : 0; })
      .rc;
}

int mps_load_coefficients(MX_context_ptr kc, const MpsModel &m) {
  std::vector<int> ci, vi;
  std::vector<double> cv;
  for (const MpsEntry &e : m.entries) {
    ci.push_back(e.row);
    vi.push_back(e.col);
    cv.push_back(e.value);
  }
  return ci.empty() ? 0 : MX_add_con_linear_struct(kc, static_cast<MX_nnz>(ci.size()), ci.data(), vi.data(), cv.data());
}

// Quadratic entries as terms c * x_i * x_j. The objective's matrix Q stands
// for 0.5 x'Qx, given by one triangle (QUADOBJ) or both (QMATRIX); a
// constraint's matrix for x'Qx with both triangles.
int mps_load_quadratic(MX_context_ptr kc, const MpsModel &m) {
  std::vector<int> v1, v2;
  std::vector<double> c;
  for (const MpsQuadEntry &e : m.quadObj) {
    v1.push_back(e.col1);
    v2.push_back(e.col2);
    c.push_back(e.col1 == e.col2 || m.quadObjFull ? 0.5 * e.value : e.value);
  }
  int rc = v1.empty() ? 0 : MX_add_obj_quadratic_struct(kc, static_cast<MX_nnz>(v1.size()), v1.data(), v2.data(), c.data());
  for (size_t r = 0; rc == 0 && r < m.quadCon.size(); ++r) {
    std::vector<int> a, b;
    std::vector<double> q;
    for (const MpsQuadEntry &e : m.quadCon[r]) {
      a.push_back(e.col1);
      b.push_back(e.col2);
      q.push_back(e.value);
    }
    if (!a.empty())
      rc = MX_add_con_quadratic_struct_one(kc, static_cast<MX_nnz>(a.size()), static_cast<int>(r), a.data(), b.data(), q.data());
  }
  return rc;
}

int mps_load_objective(MX_context_ptr kc, const MpsModel &m) {
  std::vector<int> idx;
  std::vector<double> coefs;
  for (size_t j = 0; j < m.objCoefs.size(); ++j)
    if (m.objCoefs[j] != 0.0) {
      idx.push_back(static_cast<int>(j));
      coefs.push_back(m.objCoefs[j]);
    }
  return MxLoadSteps()
      .then([&] { return m.maximize ? MX_set_obj_goal(kc, MX_OBJGOAL_MAXIMIZE) : 0; })
      .then([&] { return idx.empty() ? 0 : MX_add_obj_linear_struct(kc, static_cast<MX_nnz>(idx.size()), idx.data(), coefs.data()); })
      .then([&] { return m.objConstant != 0.0 ? MX_add_obj_constant(kc, m.objConstant) : 0; })
      .then([&] { return m.objName.empty() ? 0 : MX_set_obj_name(kc, m.objName.c_str()); })
      .rc;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_load_mps_file(MX_context_ptr kc, const char *filename) {
  const char *fn = "MX_load_mps_file";
  if (mxl_magic_check(kc, 0, fn)) return MX_RC_BAD_KCPTR;
  if (kc->fatalError) return MX_RC_ILLEGAL_CALL;
  if (kc->n > 0 || kc->m > 0) {
    mxl_printf(kc, "ERROR: Problem kc should be empty\n");
    return 8;
  }
  MpsModel model;
  std::string error;
  bool read = false;
  try {
    read = filename != nullptr && mpsRead(filename, model, error);
  } catch (const std::bad_alloc &) {
    error = "ERROR: Not enough memory.\n";
  }
  if (!read) {
    mxl_printf(kc, "%s", filename == nullptr ? "ERROR: file (null) not found.\n" : error.c_str());
    return 32;
  }
  for (const std::string &w : model.warnings) mxl_printf(kc, "%s", w.c_str());
  const int rc = MxLoadSteps()
                     .then([&] { return mps_load_rows(kc, model); })
                     .then([&] { return mps_load_columns(kc, model); })
                     .then([&] { return mps_load_coefficients(kc, model); })
                     .then([&] { return mps_load_objective(kc, model); })
                     .then([&] { return mps_load_quadratic(kc, model); })
                     .rc;
  return rc == 0 ? 0 : 16;
}

}  // extern "C"

namespace {

// The context's model in MPS terms; false for models MPS cannot hold.
bool mps_from_context(const MXL_context *ctx, MpsModel &m) {
  const MXMOD &mod = *ctx->model;
  if (!mod.callbacks.empty() || !mod.conics.empty() || ctx->r > 0) return false;
  m.maximize = ctx->obj.goal == MX_OBJGOAL_MAXIMIZE;
  m.objName = ctx->obj.hasName ? ctx->obj.name : std::string();
  m.objConstant = mod.constants.objConstant;
  for (int j = 0; j < ctx->n; ++j) {
    MpsColumn c;
    c.name = ctx->var.name.exists() && ctx->var.hasName[j] ? ctx->var.name.v[j] : std::string();
    c.integer = ctx->var.type[j] != MX_VARTYPE_CONTINUOUS;
    c.lo = ctx->var.lo[j];
    c.up = ctx->var.up[j];
    c.loGiven = c.upGiven = true;
    m.cols.push_back(c);
  }
  m.objCoefs.assign(static_cast<size_t>(ctx->n), 0.0);
  if (mod.linear) {
    const MxLinTerms &o = mod.linear->obj;
    for (size_t k = 0; k < o.vars.size(); ++k) m.objCoefs[static_cast<size_t>(o.vars[k])] += o.coefs[k];
    const MxLinTerms &J = mod.linear->jac;
    for (size_t k = 0; k < J.vars.size(); ++k) m.entries.push_back({J.rows[k], J.vars[k], J.coefs[k]});
  }
  for (int i = 0; i < ctx->m; ++i) {
    // A constant of the constraint moves to the bounds.
    const double k = ctx->con.constant[i];
    const double lo = ctx->con.lo[i] > -MX_INF ? ctx->con.lo[i] - k : -MX_INF;
    const double up = ctx->con.up[i] < MX_INF ? ctx->con.up[i] - k : MX_INF;
    MpsRow r;
    r.name = ctx->con.name.exists() && ctx->con.hasName[i] ? ctx->con.name.v[i] : std::string();
    if (lo > -MX_INF && up < MX_INF && lo == up) {
      r.kind = 'E';
      r.rhs = lo;
    } else if (lo > -MX_INF) {
      r.kind = 'G';
      r.rhs = lo;
      r.hasRange = up < MX_INF;
      r.range = up - lo;
    } else if (up < MX_INF) {
      r.kind = 'L';
      r.rhs = up;
    }
    m.rows.push_back(r);
  }
  if (mod.quadratic) {
    // Stored as Hessian entries: twice the coefficient on the diagonal.
    const MxQuadTerms &q = mod.quadratic->obj;
    for (size_t k = 0; k < q.vars1.size(); ++k) m.quadObj.push_back({q.vars1[k], q.vars2[k], q.values[k]});
    const MxQuadTerms &qc = mod.quadratic->con;
    if (qc.size() > 0) m.quadCon.resize(static_cast<size_t>(ctx->m));
    for (size_t k = 0; k < qc.vars1.size(); ++k) {
      std::vector<MpsQuadEntry> &row = m.quadCon[static_cast<size_t>(qc.cons[k])];
      row.push_back({qc.vars1[k], qc.vars2[k], 0.5 * qc.values[k]});
      if (qc.vars1[k] != qc.vars2[k]) row.push_back({qc.vars2[k], qc.vars1[k], 0.5 * qc.values[k]});
    }
  }
  return true;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_write_mps_file(MX_context_ptr kc, const char *filename) {
  const char *fn = "MX_write_mps_file";
  return mx_guard(kc, [&]() {
    if (const int rc = mx_enter(kc, fn)) return rc;
    if (filename == nullptr) mx_fatal(kc, MX_RC_NULL_POINTER, "ERROR: Parameter filename passed to %s() is NULL.\n", fn);
    MpsModel model;
    if (!mps_from_context(kc, model)) {
      mxl_printf(kc, "ERROR: %s() can only write linear and quadratic models without callbacks,\n", fn);
      mxl_printf(kc, "       residuals or L2 norm structure.\n");
      return mx_getter_fail(kc, MX_RC_BAD_CONSTRAINT);
    }
    std::string error;
    if (!mpsWrite(model, filename, error)) {
      mxl_printf(kc, "%s", error.c_str());
      return mx_getter_fail(kc, MX_RC_OPEN_FILE_ERR);
    }
    return 0;
  });
}

}  // extern "C"

namespace {

enum MxLoadKind { MX_LOAD_LP, MX_LOAD_QP, MX_LOAD_QCQP };

struct MxBulkModel {
  int n;
  const double *objCoefs, *xLoBnds, *xUpBnds;
  int m;
  const double *cLoBnds, *cUpBnds;
  MX_nnz nnzJ;
  const int *jacIndexCons, *jacIndexVars;
  const double *jacCoefs;
  MX_nnz nnzH;
  const int *hessIndexVars1, *hessIndexVars2;
  const double *hessCoefs;
  MX_nnz nnzQ;
  const int *quadIndexCons, *quadIndexVars1, *quadIndexVars2;
  const double *quadCoefs;
};

int mx_load_problem(MX_context_ptr kc, const char *fn, MxLoadKind kind, const MxBulkModel &b) {
  const int rc = mx_guard(kc, [&]() {
    if (const int code = mx_enter(kc, fn)) return code;
    if (mx_restart_check(kc, fn)) return int(MX_RC_ILLEGAL_CALL);
    if (b.n < 0 || b.m < 0 || b.nnzJ < 0 || b.nnzH < 0 || b.nnzQ < 0)
      mx_fatal(kc, MX_RC_BAD_SIZE, "ERROR: %s() given a bad problem size.\n", fn);
    return 0;
  });
  if (rc != 0) return rc;
  std::vector<int> objIdx;
  std::vector<double> objVal;
  for (int j = 0; b.objCoefs != nullptr && j < b.n; ++j)
    if (b.objCoefs[j] != 0.0) {
      objIdx.push_back(j);
      objVal.push_back(b.objCoefs[j]);
    }
  return MxLoadSteps()
      .then([&] { return MX_add_vars(kc, b.n, nullptr); })
      .then([&] { return b.xLoBnds ? MX_set_var_lobnds_all(kc, b.xLoBnds) : 0; })
      .then([&] { return b.xUpBnds ? MX_set_var_upbnds_all(kc, b.xUpBnds) : 0; })
      .then([&] { return MX_add_cons(kc, b.m, nullptr); })
      .then([&] { return b.cLoBnds ? MX_set_con_lobnds_all(kc, b.cLoBnds) : 0; })
      .then([&] { return b.cUpBnds ? MX_set_con_upbnds_all(kc, b.cUpBnds) : 0; })
      .then([&] { return objIdx.empty() ? 0 : MX_add_obj_linear_struct(kc, static_cast<MX_nnz>(objIdx.size()), objIdx.data(), objVal.data()); })
      .then([&] { return b.nnzJ == 0 ? 0 : MX_add_con_linear_struct(kc, b.nnzJ, b.jacIndexCons, b.jacIndexVars, b.jacCoefs); })
      .then([&] { return kind == MX_LOAD_LP || b.nnzH == 0 ? 0 : MX_add_obj_quadratic_struct(kc, b.nnzH, b.hessIndexVars1, b.hessIndexVars2, b.hessCoefs); })
      .then([&] { return kind != MX_LOAD_QCQP || b.nnzQ == 0 ? 0 : MX_add_con_quadratic_struct(kc, b.nnzQ, b.quadIndexCons, b.quadIndexVars1, b.quadIndexVars2, b.quadCoefs); })
      .rc;
}

}  // namespace

extern "C" {

MX_EXPORT int MX_load_lp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                         const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                         const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                         const double *jacCoefs) {
  const MxBulkModel b{n, objCoefs, xLoBnds, xUpBnds, m, cLoBnds, cUpBnds, nnzJ, jacIndexCons, jacIndexVars,
                      jacCoefs, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr};
  return mx_load_problem(kc, "MX_load_lp", MX_LOAD_LP, b);
}

MX_EXPORT int MX_load_qp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                         const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                         const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                         const double *jacCoefs, const MX_nnz nnzH, const int *hessIndexVars1,
                         const int *hessIndexVars2, const double *hessCoefs) {
  const MxBulkModel b{n, objCoefs, xLoBnds, xUpBnds, m, cLoBnds, cUpBnds, nnzJ, jacIndexCons, jacIndexVars,
                      jacCoefs, nnzH, hessIndexVars1, hessIndexVars2, hessCoefs, 0, nullptr, nullptr, nullptr, nullptr};
  return mx_load_problem(kc, "MX_load_qp", MX_LOAD_QP, b);
}

MX_EXPORT int MX_load_qcqp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                           const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                           const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                           const double *jacCoefs, const MX_nnz nnzH, const int *hessIndexVars1,
                           const int *hessIndexVars2, const double *hessCoefs, const MX_nnz nnzQ,
                           const int *quadIndexCons, const int *quadIndexVars1, const int *quadIndexVars2,
                           const double *quadCoefs) {
  const MxBulkModel b{n, objCoefs, xLoBnds, xUpBnds, m, cLoBnds, cUpBnds, nnzJ, jacIndexCons, jacIndexVars,
                      jacCoefs, nnzH, hessIndexVars1, hessIndexVars2, hessCoefs, nnzQ, quadIndexCons,
                      quadIndexVars1, quadIndexVars2, quadCoefs};
  return mx_load_problem(kc, "MX_load_qcqp", MX_LOAD_QCQP, b);
}

}  // extern "C"
