// Runs the BLAS on one thread for a while.
//
// A threaded BLAS spins its threads up and down around every call on small
// matrices, which costs more than the arithmetic, and splits its sums by
// the machine's core count, so that the same model follows another path on
// another machine. While any scope with `active` set lives, a BLAS that can
// be told runs on one thread; the last scope to end puts back the count the
// program had.
#pragma once

class SerialBlasScope {
 public:
  explicit SerialBlasScope(bool active = true);
  ~SerialBlasScope();
  SerialBlasScope(const SerialBlasScope &) = delete;
  SerialBlasScope &operator=(const SerialBlasScope &) = delete;

 private:
  bool active_;
  void (*set_)(int) = nullptr;
};
