/* MAAPI: reads of a transaction's view of the configuration, as far as the
 * plug-in uses it. Compatible by name with ConfD's libconfd.
 *
 * Every call takes the MAAPI socket and the handle of the transaction; one
 * that was never opened is an error, not undefined behaviour.
 *
 * Paths are absolute and printf-like: only %s, %d and %u, no width. %s is
 * plain text, so it may carry a piece of path. A list entry is written
 * /list{key1 key2}: keys in the order of the model, separated by blanks,
 * blanks after { and before } allowed, a key with a blank or a brace in
 * double quotes with backslash escapes. A step may carry its module's prefix;
 * without one the first step is looked up in every module.
 *
 * A read of a leaf fails with CONFD_ERR_NOEXISTS where it has neither value
 * nor default, with CONFD_ERR_BADTYPE where its type is not the call's (never
 * a conversion), with CONFD_ERR_BADPATH where the path is malformed or unknown
 * to the model. A failing read does not change its output argument.
 *
 * Where the daemon's documentation is silent, these comments describe our
 * implementations; the plug-in does not rely on it. */
#ifndef IPAV_PLATFORM_CONFD_MAAPI_H_
#define IPAV_PLATFORM_CONFD_MAAPI_H_

#include <confd_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 if the node exists, 0 if not, else an error, which is not 0. The
 * path of a list without keys exists if the list has an entry (not documented
 * for the daemon). */
int maapi_exists(int sock, int thandle, const char* fmt, ...);

/* Number of entries of the list (path without keys), or CONFD_ERR. */
int maapi_num_instances(int sock, int thandle, const char* fmt, ...);

/* Reads any leaf. The caller frees the value with confd_free_value(). */
int maapi_get_elem(int sock, int thandle, confd_value_t* v, const char* fmt,
                   ...);

/* Copies a text of at most n - 1 bytes and a NUL; a longer one is an error
 * (CONFD_ERR_PROTOUSAGE). */
int maapi_get_str_elem(int sock, int thandle, char* buf, int n, const char* fmt,
                       ...);
int maapi_get_int32_elem(int sock, int thandle, int32_t* rval, const char* fmt,
                         ...);
int maapi_get_u_int8_elem(int sock, int thandle, uint8_t* rval, const char* fmt,
                          ...);
int maapi_get_u_int16_elem(int sock, int thandle, uint16_t* rval,
                           const char* fmt, ...);
int maapi_get_u_int32_elem(int sock, int thandle, uint32_t* rval,
                           const char* fmt, ...);
int maapi_get_ipv4_and_plen_elem(int sock, int thandle,
                                 struct confd_ipv4_prefix* rval,
                                 const char* fmt, ...);
int maapi_get_ipv6_and_plen_elem(int sock, int thandle,
                                 struct confd_ipv6_prefix* rval,
                                 const char* fmt, ...);

/* Walks the entries of a list. After maapi_get_next() `n` is the number of
 * keys of the current entry, 0 after the last one; the keys belong to the
 * cursor and are replaced by the next call. */
struct maapi_cursor {
  confd_value_t keys[MAXKEYLEN];
  int n;
  void* impl; /* the library's own */
};

int maapi_init_cursor(int sock, int thandle, struct maapi_cursor* mc,
                      const char* fmt, ...);
int maapi_get_next(struct maapi_cursor* mc);
void maapi_destroy_cursor(struct maapi_cursor* mc);

/* Evaluates an XPath 1.0 expression with the node at `fmtpath` as context and
 * sets *res to its string value ("" for an empty node set). The caller frees
 * it with free(3); null after a failure. `trace` may be null. */
int maapi_xpath_eval_expr(int sock, int thandle, const char* expr, char** res,
                          void (*trace)(char*), const char* fmtpath, ...);

/* What happened to a node in the transaction. */
enum confd_iter_op {
  MOP_CREATED = 1,   /* list entry, presence container or empty leaf */
  MOP_DELETED = 2,   /* list entry, presence container or leaf */
  MOP_MODIFIED = 3,  /* list entry with a changed descendant */
  MOP_VALUE_SET = 4, /* leaf, also when a default comes into force */
  MOP_MOVED_AFTER = 5,
  MOP_ATTR_SET = 6
};

/* What the walk does next. */
enum confd_iter_ret {
  ITER_STOP = 1,     /* end the whole walk, which then succeeds */
  ITER_RECURSE = 2,  /* visit the children of this node */
  ITER_CONTINUE = 3, /* skip them */
  ITER_SUSPEND = 4,
  ITER_UP = 5
};

/* Calls `iter` for each change of the transaction at or below the path, parents
 * before children; plain containers get no call. The key path is the full one
 * of the changed node; `oldv` is always null, `newv` is the value of a
 * MOP_VALUE_SET, null for a creation, deletion or modification. Path and values
 * are borrowed for the length of the callback. */
int maapi_keypath_diff_iterate(
    int sock, int thandle,
    enum confd_iter_ret (*iter)(confd_hkeypath_t* kp, enum confd_iter_op op,
                                confd_value_t* oldv, confd_value_t* newv,
                                void* state),
    int flags, void* initstate, const char* fmtpath, ...);

#ifdef __cplusplus
}
#endif

#endif /* IPAV_PLATFORM_CONFD_MAAPI_H_ */
