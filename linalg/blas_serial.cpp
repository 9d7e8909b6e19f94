#include "linalg/blas_serial.h"

#include <dlfcn.h>

#include <mutex>

namespace {

struct BlasThreadApi {
  int (*get)() = nullptr;
  void (*set)(int) = nullptr;
};

// Only a BLAS that has both calls can be told. The library is opened at
// run time (by the LAPACK binding or by the sparse engine's own needs), so
// it is looked up again until it is found.
BlasThreadApi blasThreadApi() {
  static std::mutex mutex;
  static BlasThreadApi api;
  static bool found = false;
  std::lock_guard<std::mutex> lock(mutex);
  if (found) return api;
  void *h = dlopen("libopenblas.so.0", RTLD_NOW | RTLD_NOLOAD);
  void *where = h != nullptr ? h : RTLD_DEFAULT;
  api.get = reinterpret_cast<int (*)()>(dlsym(where, "openblas_get_num_threads"));
  api.set = reinterpret_cast<void (*)(int)>(dlsym(where, "openblas_set_num_threads"));
  if (api.get == nullptr || api.set == nullptr) api = BlasThreadApi();
  found = api.set != nullptr;
  if (h != nullptr) dlclose(h);  // drops only the reference NOLOAD took
  return api;
}

struct SerialState {
  std::mutex mutex;
  int users = 0, saved = 0;
};

SerialState &serialState() {
  static SerialState st;
  return st;
}

}  // namespace

SerialBlasScope::SerialBlasScope(bool active) : active_(false) {
  if (!active) return;
  const BlasThreadApi api = blasThreadApi();
  if (api.set == nullptr) return;
  active_ = true;
  set_ = api.set;
  SerialState &st = serialState();
  std::lock_guard<std::mutex> lock(st.mutex);
  if (st.users++ == 0) {
    st.saved = api.get();
    if (st.saved > 1) api.set(1);
  }
}

SerialBlasScope::~SerialBlasScope() {
  if (!active_) return;
  SerialState &st = serialState();
  std::lock_guard<std::mutex> lock(st.mutex);
  if (--st.users == 0 && st.saved > 1) set_(st.saved);
}
