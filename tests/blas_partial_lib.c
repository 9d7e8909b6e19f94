/* A BLAS library exporting only some of the MX_ names, counting its calls. */
#include <math.h>

__attribute__((visibility("default"))) int partial_calls = 0;

__attribute__((visibility("default"))) double MX_ddot(int n, const double *x, int incx,
                                                      const double *y, int incy) {
  double s = 0.0;
  ++partial_calls;
  for (int i = 0; i < n; ++i) s += x[i * incx] * y[i * incy];
  return s;
}

__attribute__((visibility("default"))) double MX_dnrm2(int n, const double *x, int incx) {
  double s = 0.0;
  ++partial_calls;
  for (int i = 0; i < n; ++i) s += x[i * incx] * x[i * incx];
  return sqrt(s);
}
