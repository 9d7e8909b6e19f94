#include "linalg/blas_serial.h"

#include <dlfcn.h>

#include <mutex>

namespace {

struct BlasThreadApi {
  int (*get)() = nullptr;
  void (*set)(int) = nullptr;
};

// Only a BLAS that has both calls can be told; others are left alone.
const BlasThreadApi &blasThreadApi() {
  static const BlasThreadApi api = [] {
    BlasThreadApi r;
    r.get = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "openblas_get_num_threads"));
    r.set = reinterpret_cast<void (*)(int)>(dlsym(RTLD_DEFAULT, "openblas_set_num_threads"));
    if (r.get == nullptr) r.set = nullptr;
    return r;
  }();
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

SerialBlasScope::SerialBlasScope(bool active) : active_(active && blasThreadApi().set != nullptr) {
  if (!active_) return;
  SerialState &st = serialState();
  std::lock_guard<std::mutex> lock(st.mutex);
  if (st.users++ == 0) {
    st.saved = blasThreadApi().get();
    if (st.saved > 1) blasThreadApi().set(1);
  }
}

SerialBlasScope::~SerialBlasScope() {
  if (!active_) return;
  SerialState &st = serialState();
  std::lock_guard<std::mutex> lock(st.mutex);
  if (--st.users == 0 && st.saved > 1) blasThreadApi().set(st.saved);
}
