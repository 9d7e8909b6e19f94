// A .nl model read through the AMPL solver library, with the evaluations
// the peer solver needs. Kept free of the library's headers: their macros
// (n_var, nlc, X0, ...) would clash with the peer's.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct PeerModel;
struct PeerModelDeleter {
  void operator()(PeerModel *m) const;
};
using PeerModelPtr = std::unique_ptr<PeerModel, PeerModelDeleter>;

// Bounds at or beyond this magnitude are infinite, for us and for the peer.
constexpr double PEER_INFINITY = 1e20;

struct PeerShape {
  int n = 0, m = 0;
  int jacNnz = 0, hessNnz = 0;  // Hessian: one triangle
  int integers = 0;             // integer and binary variables (relaxed)
  bool hasObjective = false;
  bool maximize = false;
};

// Reads a .nl or .nl.gz file; on failure returns null and sets error.
PeerModelPtr peer_read(const std::string &path, std::string &error);
PeerShape peer_shape(const PeerModel &m);

// Bounds clipped to +-PEER_INFINITY; the start point is the model's, 0 elsewhere.
void peer_var_bounds(const PeerModel &m, double *lo, double *up);
void peer_con_bounds(const PeerModel &m, double *lo, double *up);
void peer_start(const PeerModel &m, double *x);

// Sparsity (0-based): the Jacobian in the library's column order, the
// Hessian of the Lagrangian as its lower triangle (row >= column).
void peer_jac_structure(const PeerModel &m, int *rows, int *cols);
void peer_hess_structure(const PeerModel &m, int *rows, int *cols);

// Evaluations in the model's own sense (a maximised objective is returned
// as written, constant term included). False when the functions are not
// defined at x.
bool peer_obj(PeerModel &m, const double *x, double &f);
bool peer_obj_grad(PeerModel &m, const double *x, double *g);
bool peer_cons(PeerModel &m, const double *x, double *c);
bool peer_jac(PeerModel &m, const double *x, double *values);
// Hessian of objWeight * f + sum y_i c_i at x, in peer_hess_structure's order.
bool peer_hess(PeerModel &m, const double *x, double objWeight, const double *y, double *values);

// Largest violation of the variable and constraint bounds at x, given c(x),
// relative to max(1, |bound|).
double peer_violation(const PeerModel &m, const double *x, const double *c);
