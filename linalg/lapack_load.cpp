// Run-time binding of LAPACK: the system's optimised library first, the
// reference one second.
#include "linalg/lapack.h"

#include <dlfcn.h>

#include <cstddef>
#include <initializer_list>

namespace {

using Dsytrf = void (*)(const char *, const int *, double *, const int *, int *, double *, const int *, int *,
                        size_t);
using Dsytrs = void (*)(const char *, const int *, const int *, const double *, const int *, const int *, double *,
                        const int *, int *, size_t);
using Dgeqp3 = void (*)(const int *, const int *, double *, const int *, int *, double *, double *, const int *,
                        int *);
using Dormqr = void (*)(const char *, const char *, const int *, const int *, const int *, const double *,
                        const int *, const double *, double *, const int *, double *, const int *, int *, size_t,
                        size_t);
using Dtrtrs = void (*)(const char *, const char *, const char *, const int *, const int *, const double *,
                        const int *, double *, const int *, int *, size_t, size_t, size_t);
using Dpotrf = void (*)(const char *, const int *, double *, const int *, int *, size_t);
using Dpotrs = void (*)(const char *, const int *, const int *, const double *, const int *, double *, const int *,
                        int *, size_t);

struct LapackTable {
  Dsytrf dsytrf = nullptr;
  Dsytrs dsytrs = nullptr;
  Dgeqp3 dgeqp3 = nullptr;
  Dormqr dormqr = nullptr;
  Dtrtrs dtrtrs = nullptr;
  Dpotrf dpotrf = nullptr;
  Dpotrs dpotrs = nullptr;
  bool ok = false;
};

template <class Fn>
bool lapackBind(void *handle, const char *name, Fn &slot) {
  slot = reinterpret_cast<Fn>(dlsym(handle, name));
  return slot != nullptr;
}

LapackTable lapackOpen() {
  for (const char *lib : {"libopenblas.so.0", "liblapack.so.3"}) {
    void *h = dlopen(lib, RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr) continue;
    LapackTable t;
    t.ok = lapackBind(h, "dsytrf_", t.dsytrf) && lapackBind(h, "dsytrs_", t.dsytrs) &&
           lapackBind(h, "dgeqp3_", t.dgeqp3) && lapackBind(h, "dormqr_", t.dormqr) &&
           lapackBind(h, "dtrtrs_", t.dtrtrs) && lapackBind(h, "dpotrf_", t.dpotrf) &&
           lapackBind(h, "dpotrs_", t.dpotrs);
    if (t.ok) return t;  // the handle stays open for the life of the process
    dlclose(h);
  }
  return LapackTable();
}

const LapackTable &lapack() {
  static const LapackTable table = lapackOpen();
  return table;
}

}  // namespace

bool lapackAvailable() { return lapack().ok; }

void lapackDsytrf(const char *uplo, int n, double *a, int lda, int *ipiv, double *work, int lwork, int *info) {
  if (!lapack().ok) {
    if (lwork == -1) work[0] = 1.0;
    *info = kLapackMissing;
    return;
  }
  lapack().dsytrf(uplo, &n, a, &lda, ipiv, work, &lwork, info, 1);
}

void lapackDsytrs(const char *uplo, int n, int nrhs, const double *a, int lda, const int *ipiv, double *b, int ldb,
                  int *info) {
  if (!lapack().ok) {
    *info = kLapackMissing;
    return;
  }
  lapack().dsytrs(uplo, &n, &nrhs, a, &lda, ipiv, b, &ldb, info, 1);
}

void lapackDgeqp3(int m, int n, double *a, int lda, int *jpvt, double *tau, double *work, int lwork, int *info) {
  if (!lapack().ok) {
    if (lwork == -1) work[0] = 1.0;
    *info = kLapackMissing;
    return;
  }
  lapack().dgeqp3(&m, &n, a, &lda, jpvt, tau, work, &lwork, info);
}

void lapackDormqr(const char *side, const char *trans, int m, int n, int k, const double *a, int lda,
                  const double *tau, double *c, int ldc, double *work, int lwork, int *info) {
  if (!lapack().ok) {
    if (lwork == -1) work[0] = 1.0;
    *info = kLapackMissing;
    return;
  }
  lapack().dormqr(side, trans, &m, &n, &k, a, &lda, tau, c, &ldc, work, &lwork, info, 1, 1);
}

void lapackDtrtrs(const char *uplo, const char *trans, const char *diag, int n, int nrhs, const double *a, int lda,
                  double *b, int ldb, int *info) {
  if (!lapack().ok) {
    *info = kLapackMissing;
    return;
  }
  lapack().dtrtrs(uplo, trans, diag, &n, &nrhs, a, &lda, b, &ldb, info, 1, 1, 1);
}

void lapackDpotrf(const char *uplo, int n, double *a, int lda, int *info) {
  if (!lapack().ok) {
    *info = kLapackMissing;
    return;
  }
  lapack().dpotrf(uplo, &n, a, &lda, info, 1);
}

void lapackDpotrs(const char *uplo, int n, int nrhs, const double *a, int lda, double *b, int ldb, int *info) {
  if (!lapack().ok) {
    *info = kLapackMissing;
    return;
  }
  lapack().dpotrs(uplo, &n, &nrhs, a, &lda, b, &ldb, info, 1);
}
