// Run-time choice of the BLAS behind the dense kernels: the local kernels,
// the system BLAS (blasoption 1, cblas names) or a user library loaded by
// name (blasoption 2, MX_ names).
#include "linalg/blas_table.h"

#include <dlfcn.h>

#include <string>

#include "driver/print.h"
#include "interface/context.h"

namespace {

// The system BLAS, opened by its run-time name.
const char *const kSystemBlas = "libopenblas.so.0";

template <class Fn>
bool blasResolve(MXL_context *ctx, void *handle, const std::string &prefix, const char *name,
                 const char *libname, Fn &slot) {
  const std::string full = prefix + name;
  void *p = dlsym(handle, full.c_str());
  if (p == nullptr) {
    if (ctx->opt.debug >= 2)
      mxl_printf(ctx, "--- Debug: failed to find '%s' in '%s'\n", full.c_str(), libname);
    return false;
  }
  slot = reinterpret_cast<Fn>(p);
  return true;
}

void *blasTryOpen(MXL_context *ctx, const std::string &path) {
  if (ctx->opt.debug >= 2)
    mxl_printf(ctx, "--- Debug: dynamically loading library '%s'\n", path.c_str());
  void *h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (h == nullptr) {
    const char *err = dlerror();
    if (ctx->opt.debug >= 2) mxl_printf(ctx, "--- Debug: dlerror(): %s\n", err ? err : "");
    return nullptr;
  }
  if (ctx->opt.debug >= 2) mxl_printf(ctx, "--- Debug: loaded '%s'\n", path.c_str());
  return h;
}

// The directory of the binary that holds this code, with a trailing slash.
std::string blasOwnDirectory() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void *>(&initBlasLapack), &info) == 0 || info.dli_fname == nullptr)
    return std::string();
  std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string("./") : path.substr(0, slash + 1);
}

// Opens the library by its bare name, then beside this library in ../lib/.
void *blasOpen(MXL_context *ctx, const std::string &name) {
  void *h = blasTryOpen(ctx, name);
  if (h == nullptr && name.find('/') == std::string::npos) {
    const std::string dir = blasOwnDirectory();
    if (!dir.empty()) h = blasTryOpen(ctx, dir + "../lib/" + name);
  }
  return h;
}

void blasClear(MxBlasTable &t) {
  void *h = t.handle;
  t.handle = nullptr;
  t.dasum = nullptr;
  t.daxpy = nullptr;
  t.dcopy = nullptr;
  t.ddot = nullptr;
  t.dgemm = nullptr;
  t.dgemv = nullptr;
  t.dger = nullptr;
  t.dnrm2 = nullptr;
  t.dsbmv = nullptr;
  t.dscal = nullptr;
  t.dspmv = nullptr;
  t.dswap = nullptr;
  t.dsyrk = nullptr;
  t.dtpsv = nullptr;
  t.dtrmm = nullptr;
  t.dtrmv = nullptr;
  t.dtrsm = nullptr;
  t.idamax = nullptr;
  if (h != nullptr) dlclose(h);
}

// blas_numthreads, when positive, goes to a library that knows the setting.
void blasSetThreads(MXL_context *ctx, void *handle) {
  if (ctx->opt.blas_numthreads <= 0) return;
  using SetThreads = void (*)(int);
  void *p = dlsym(handle, "openblas_set_num_threads");
  if (p != nullptr) reinterpret_cast<SetThreads>(p)(ctx->opt.blas_numthreads);
}

int blasChange(MXL_context *ctx, int to) {
  mxl_printf(ctx, "         Changing blasoption to %d.\n", to);
  return to;
}

}  // namespace

MxBlasTable::~MxBlasTable() { blasClear(*this); }

int loadDynFnPtrs(MXL_context *ctx, void *handle, const char *prefix, const char *libname) {
  MxBlasTable &t = ctx->blasTable;
  const std::string p = prefix;
  bool all = true;
  all &= blasResolve(ctx, handle, p, "dasum", libname, t.dasum);
  all &= blasResolve(ctx, handle, p, "daxpy", libname, t.daxpy);
  all &= blasResolve(ctx, handle, p, "dcopy", libname, t.dcopy);
  all &= blasResolve(ctx, handle, p, "ddot", libname, t.ddot);
  all &= blasResolve(ctx, handle, p, "dgemm", libname, t.dgemm);
  all &= blasResolve(ctx, handle, p, "dgemv", libname, t.dgemv);
  all &= blasResolve(ctx, handle, p, "dger", libname, t.dger);
  all &= blasResolve(ctx, handle, p, "dnrm2", libname, t.dnrm2);
  all &= blasResolve(ctx, handle, p, "dsbmv", libname, t.dsbmv);
  all &= blasResolve(ctx, handle, p, "dscal", libname, t.dscal);
  all &= blasResolve(ctx, handle, p, "dspmv", libname, t.dspmv);
  all &= blasResolve(ctx, handle, p, "dswap", libname, t.dswap);
  all &= blasResolve(ctx, handle, p, "dsyrk", libname, t.dsyrk);
  all &= blasResolve(ctx, handle, p, "dtpsv", libname, t.dtpsv);
  all &= blasResolve(ctx, handle, p, "dtrmm", libname, t.dtrmm);
  all &= blasResolve(ctx, handle, p, "dtrmv", libname, t.dtrmv);
  all &= blasResolve(ctx, handle, p, "dtrsm", libname, t.dtrsm);
  all &= blasResolve(ctx, handle, p, "idamax", libname, t.idamax);
  return all ? 1 : 0;
}

int initBlasLapack(MXL_context *ctx, int blasoption, const std::string &blasoptionlib) {
  endBlasLapack(ctx);
  if (blasoption == 4) {
    mxl_printf(ctx, "WARNING: Apple Accelerate not available on this platform (blasoption=%d).\n",
               blasoption);
    blasoption = blasChange(ctx, 1);
  } else if (blasoption == 9) {
    mxl_printf(ctx, "WARNING: CUBLAS not available on this platform (blasoption=%d).\n",
               blasoption);
    blasoption = 0;
  }
  if (blasoption != 1 && blasoption != 2) return ctx->resolvedBlasoption = blasoption;
  if (blasoption == 2 && blasoptionlib.empty()) {
    mxl_printf(ctx, "WARNING: Option blasoption=%d but blasoptionlib not specified.\n", blasoption);
    return ctx->resolvedBlasoption = blasChange(ctx, 0);
  }
  const std::string lib = blasoption == 1 ? std::string(kSystemBlas) : blasoptionlib;
  void *h = blasOpen(ctx, lib);
  if (h == nullptr) {
    mxl_printf(ctx, "WARNING: Failed to load BLAS library '%s'.\n", lib.c_str());
    return ctx->resolvedBlasoption = 0;
  }
  ctx->blasTable.handle = h;
  blasSetThreads(ctx, h);
  if (loadDynFnPtrs(ctx, h, blasoption == 1 ? "cblas_" : "MX_", lib.c_str()) == 0) {
    mxl_printf(ctx, "WARNING: Failed to load all BLAS functions in library '%s'.\n", lib.c_str());
    mxl_printf(ctx, "         Missing BLAS functions will use Morvex internal BLAS.\n");
  }
  return ctx->resolvedBlasoption = blasoption;
}

void endBlasLapack(MXL_context *ctx) { blasClear(ctx->blasTable); }
