/* Macros that the public headers share. */
#ifndef NODETREE_EXPORT_H
#define NODETREE_EXPORT_H

/* Marks exported functions and variables. The shared object exports nothing else. */
#define NODETREE_API __attribute__((visibility("default")))

/* Lets the compiler check a printf format, argument number `fmt`, against the arguments
   from number `args` on; `args` is 0 for a va_list. */
#define NODETREE_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))

/* Lets the compiler check that the variable arguments end with a null pointer. */
#define NODETREE_SENTINEL __attribute__((sentinel))

/* Begin and end of the declarations, and a cast and a null pointer for inline functions, in
   C and in C++. */
#ifdef __cplusplus
#define NODETREE_BEGIN extern "C" {
#define NODETREE_END }
#define NODETREE_CAST(type, value) static_cast<type>(value)
#define NODETREE_NULL nullptr
#else
#define NODETREE_BEGIN
#define NODETREE_END
#define NODETREE_CAST(type, value) ((type)(value))
#define NODETREE_NULL ((void *)0)
#endif

#endif
