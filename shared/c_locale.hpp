#ifndef NODETREE_SHARED_C_LOCALE_HPP
#define NODETREE_SHARED_C_LOCALE_HPP

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <locale.h>

namespace nodetree {

/* While one lives, the calling thread converts numbers by the rules of the "C" locale; no
   other thread notices. Where a caller's function is called in between, suspend() and
   resume() let it run under the caller's own locale, and a change of locale that it makes
   stays in force. errno is left alone. */
class CNumericLocale {
public:
  CNumericLocale() {
    const int saved = errno;
    /* The C library hands out a static object for this name: nothing is allocated. Should
       that fail all the same, the null handle makes uselocale() a mere query. */
    c_ = newlocale(LC_ALL_MASK, "C", nullptr);
    caller_ = uselocale(c_);
    errno = saved;
  }
  ~CNumericLocale() {
    const int saved = errno;
    uselocale(caller_);
    if (c_)
      freelocale(c_);
    errno = saved;
  }
  CNumericLocale(const CNumericLocale &) = delete;
  CNumericLocale &operator=(const CNumericLocale &) = delete;

  void suspend() { uselocale(caller_); }
  void resume() { caller_ = uselocale(c_); }

private:
  locale_t c_;
  locale_t caller_;
};

/* The number at the start of a text, as strtod() reads it in the "C" locale. */
inline double to_double_in_c(const char *text) {
  const locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
  const double number = c ? strtod_l(text, nullptr, c) : std::strtod(text, nullptr);
  if (c)
    freelocale(c);
  return number;
}

} // namespace nodetree

#endif
