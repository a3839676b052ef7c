#ifndef NODETREE_LOG_REPORT_HPP
#define NODETREE_LOG_REPORT_HPP

#include <nodetree/log.h>

/* Writes a diagnostic of the library itself: a debug message that names the function and
   the line where it stands. The format must be a literal; "%m" is the errno of the call,
   and __extension__ lets it pass for a standard conversion. */
#define NODETREE_DEBUG(format, ...)                                                        \
  (__extension__ log_msg(LOG_DEBUG, "%s:%d: " format, __func__,                            \
                         __LINE__ __VA_OPT__(, ) __VA_ARGS__))

#endif
