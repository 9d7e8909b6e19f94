// Reading and evaluating .nl models for the peer benchmark, with the same
// library routines as the tool's reader (apps/nl_model.cpp).
#include "bench/peer/peer_model.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "asl_pfgh.h"

struct PeerModel {
  ASL *asl = nullptr;
  std::string tempFile;  // the unpacked copy of a gzipped model
  std::vector<int> hessCol, hessRow;  // library order: upper triangle by columns
  std::vector<double> objWeights, conScratch;
  ~PeerModel() {
    if (asl != nullptr) ASL_free(&asl);
    if (!tempFile.empty()) std::remove(tempFile.c_str());
  }
};

void PeerModelDeleter::operator()(PeerModel *m) const { delete m; }

namespace {

double peer_clip(double v) { return std::max(-PEER_INFINITY, std::min(PEER_INFINITY, v)); }

bool peer_unpack(const std::string &path, std::string &out) {
  char name[] = "/tmp/morvex_peer_XXXXXX.nl";
  const int fd = mkstemps(name, 3);
  if (fd < 0) return false;
  out = name;
  gzFile in = gzopen(path.c_str(), "rb");
  if (in == nullptr) {
    close(fd);
    return false;
  }
  char buf[65536];
  int got;
  bool ok = true;
  while ((got = gzread(in, buf, sizeof buf)) > 0) ok = ok && write(fd, buf, static_cast<size_t>(got)) == got;
  gzclose(in);
  close(fd);
  return ok && got >= 0;
}

bool peer_ends_with(const std::string &s, const char *suffix) {
  const size_t n = std::strlen(suffix);
  return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

void peer_hessian_setup(PeerModel &m) {
  ASL *asl = m.asl;
  sphsetup(-1, 1, 1, 1);
  for (int j = 0; j < n_var; ++j)
    for (fint k = sputinfo->hcolstarts[j]; k < sputinfo->hcolstarts[j + 1]; ++k) {
      m.hessRow.push_back(static_cast<int>(sputinfo->hrownos[k]));
      m.hessCol.push_back(j);
    }
  m.objWeights.assign(static_cast<size_t>(std::max(n_obj, 1)), 0.0);
  m.conScratch.assign(static_cast<size_t>(std::max(n_con, 1)), 0.0);
}

}  // namespace

PeerModelPtr peer_read(const std::string &path, std::string &error) {
  PeerModelPtr m(new PeerModel());
  std::string file = path;
  if (peer_ends_with(path, ".gz")) {
    if (!peer_unpack(path, m->tempFile)) {
      error = "could not unpack '" + path + "'";
      return nullptr;
    }
    file = m->tempFile;
  }
  ASL *asl = ASL_alloc(ASL_read_pfgh);
  m->asl = asl;
  return_nofile = 1;  // the library would otherwise end the process
  FILE *nl = jac0dim(const_cast<char *>(file.c_str()), static_cast<fint>(file.size()));
  if (nl == nullptr) {
    error = "could not open '" + path + "'";
    return nullptr;
  }
  X0 = static_cast<double *>(M1alloc(static_cast<size_t>(n_var) * sizeof(double)));
  havex0 = static_cast<char *>(M1alloc(static_cast<size_t>(n_var)));
  want_xpi0 = 1;
  if (pfgh_read(nl, ASL_return_read_err | ASL_findgroups) != 0) {
    error = "could not read the model in '" + path + "'";
    return nullptr;
  }
  peer_hessian_setup(*m);
  return m;
}

PeerShape peer_shape(const PeerModel &m) {
  ASL *asl = m.asl;
  PeerShape s;
  s.n = n_var;
  s.m = n_con;
  s.jacNnz = nzc;
  s.hessNnz = static_cast<int>(m.hessRow.size());
  s.integers = nbv + niv + nlvbi + nlvci + nlvoi;
  s.hasObjective = n_obj > 0;
  s.maximize = n_obj > 0 && objtype[0] == 1;
  return s;
}

void peer_var_bounds(const PeerModel &m, double *lo, double *up) {
  ASL *asl = m.asl;
  for (int j = 0; j < n_var; ++j) {
    lo[j] = peer_clip(LUv[2 * j]);
    up[j] = peer_clip(LUv[2 * j + 1]);
  }
}

void peer_con_bounds(const PeerModel &m, double *lo, double *up) {
  ASL *asl = m.asl;
  for (int i = 0; i < n_con; ++i) {
    lo[i] = peer_clip(LUrhs[2 * i]);
    up[i] = peer_clip(LUrhs[2 * i + 1]);
  }
}

void peer_start(const PeerModel &m, double *x) {
  ASL *asl = m.asl;
  for (int j = 0; j < n_var; ++j) x[j] = havex0 != nullptr && havex0[j] ? X0[j] : 0.0;
}

void peer_jac_structure(const PeerModel &m, int *rows, int *cols) {
  ASL *asl = m.asl;
  for (int i = 0; i < n_con; ++i)
    for (cgrad *cg = Cgrad[i]; cg != nullptr; cg = cg->next) {
      rows[cg->goff] = i;
      cols[cg->goff] = cg->varno;
    }
}

void peer_hess_structure(const PeerModel &m, int *rows, int *cols) {
  for (size_t k = 0; k < m.hessRow.size(); ++k) {
    rows[k] = m.hessCol[k];
    cols[k] = m.hessRow[k];
  }
}

bool peer_obj(PeerModel &m, const double *x, double &f) {
  ASL *asl = m.asl;
  fint err = 0;
  f = n_obj > 0 ? objval(0, const_cast<double *>(x), &err) : 0.0;
  return err == 0;
}

bool peer_obj_grad(PeerModel &m, const double *x, double *g) {
  ASL *asl = m.asl;
  fint err = 0;
  if (n_obj < 1) {
    std::fill(g, g + n_var, 0.0);
    return true;
  }
  objgrd(0, const_cast<double *>(x), g, &err);
  return err == 0;
}

bool peer_cons(PeerModel &m, const double *x, double *c) {
  ASL *asl = m.asl;
  fint err = 0;
  if (n_con > 0) conval(const_cast<double *>(x), c, &err);
  return err == 0;
}

bool peer_jac(PeerModel &m, const double *x, double *values) {
  ASL *asl = m.asl;
  fint err = 0;
  if (n_con > 0) jacval(const_cast<double *>(x), values, &err);
  return err == 0;
}

bool peer_hess(PeerModel &m, const double *x, double objWeight, const double *y, double *values) {
  ASL *asl = m.asl;
  // The library takes second derivatives at the point of its last function
  // evaluations, which need not be x.
  double f = 0.0;
  if (!peer_obj(m, x, f) || !peer_cons(m, x, m.conScratch.data())) return false;
  m.objWeights[0] = n_obj > 0 ? objWeight : 0.0;
  sphes(values, -1, m.objWeights.data(), const_cast<double *>(y));
  return true;
}

double peer_violation(const PeerModel &m, const double *x, const double *c) {
  ASL *asl = m.asl;
  // Relative to the bound's size, as the peer relaxes bounds by a relative amount.
  auto excess = [](double v, double lo, double up) {
    return std::max((lo - v) / std::max(1.0, std::fabs(lo)), (v - up) / std::max(1.0, std::fabs(up)));
  };
  double worst = 0.0;
  for (int j = 0; j < n_var; ++j) worst = std::max(worst, excess(x[j], LUv[2 * j], LUv[2 * j + 1]));
  for (int i = 0; i < n_con; ++i) worst = std::max(worst, excess(c[i], LUrhs[2 * i], LUrhs[2 * i + 1]));
  return worst;
}
