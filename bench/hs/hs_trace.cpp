// Developer aid: solves one hand-written problem with the log on.
//   hs_trace NAME [option=value ...]   (integer options by name)
//   hs_trace --list                     (the names, one per line)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hs/hs_build.h"

int main(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: hs_trace NAME [option=value ...]\n");
    return 2;
  }
  if (std::strcmp(argv[1], "--list") == 0) {
    for (const HsProblem &q : hsProblems()) std::printf("%s\n", q.name);
    return 0;
  }
  const HsProblem *p = hsFind(argv[1]);
  if (p == nullptr) {
    std::fprintf(stderr, "no problem %s\n", argv[1]);
    return 2;
  }
  HsOptions o;
  o.ints = {{MX_PARAM_ALGORITHM, 1}, {MX_PARAM_OUTLEV, 3}};
  std::unique_ptr<HsModel> m = hsBuild(*p, o);
  for (int i = 2; i < argc; ++i) {
    const char *eq = std::strchr(argv[i], '=');
    if (eq == nullptr) continue;
    const std::string name(argv[i], static_cast<size_t>(eq - argv[i]));
    if (std::strchr(eq + 1, '/'))
      MX_set_char_param_by_name(m->kc, name.c_str(), eq + 1);
    else if (std::strchr(eq + 1, '.') || std::strchr(eq + 1, 'e'))
      MX_set_double_param_by_name(m->kc, name.c_str(), std::atof(eq + 1));
    else
      MX_set_int_param_by_name(m->kc, name.c_str(), std::atoi(eq + 1));
  }
  const HsSolution s = hsSolve(*m);
  std::printf("%s: rc=%d f=%.12g f*=%.12g iters=%d\n", p->name, s.rc, s.f, p->fstar, s.iters);
  return 0;
}
