/* The configuration daemon's C library, as far as the plug-in uses it: value
 * and key-path types, the transaction context of a validation callback, and
 * three services. Declarations only, compatible by name with ConfD's
 * libconfd, so that the plug-in builds unchanged against a real SDK.
 *
 * Plain C, usable from C++. Addresses inside values are in network byte
 * order. Unless a call says otherwise, a pointer argument is borrowed for the
 * length of the call. */
#ifndef IPAV_PLATFORM_CONFD_LIB_H_
#define IPAV_PLATFORM_CONFD_LIB_H_

#include <assert.h>
#include <netinet/in.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Longest key path plus one, and most keys of a list plus one. */
#define MAXDEPTH 20
#define MAXKEYLEN 9

/* Return codes of calls, unless a call says otherwise. CONFD_ERR sets
 * confd_errno. */
#define CONFD_OK 0
#define CONFD_ERR (-1)
#define CONFD_EOF (-2)
#define CONFD_VALIDATION_WARN (-3)

/* Error number and error text of the last call that returned CONFD_ERR. */
#define CONFD_ERR_NOEXISTS 1
#define CONFD_ERR_BADTYPE 5
#define CONFD_ERR_BADPATH 8
#define CONFD_ERR_MALLOC 20
#define CONFD_ERR_PROTOUSAGE 21
#define CONFD_ERR_NOSESSION 22
#define CONFD_ERR_XPATH 50
#define CONFD_ERR_NOT_IMPLEMENTED 51
#define CONFD_ERR_NOTRANS 61
extern int confd_errno;
char* confd_lasterr(void);

/* Type of a value. The numbers are the daemon's; types that this system does
 * not use are left out. */
enum confd_vtype {
  C_NOEXISTS = 1, /* end of a row of keys; elsewhere: no value */
  C_XMLTAG = 2,   /* a node of the data model */
  C_STR = 4,      /* NUL-terminated text, never received */
  C_BUF = 5,      /* text, size in `buf`, NUL-terminated when received */
  C_INT8 = 6,
  C_INT16 = 7,
  C_INT32 = 8,
  C_INT64 = 9,
  C_UINT8 = 10,
  C_UINT16 = 11,
  C_UINT32 = 12,
  C_UINT64 = 13,
  C_IPV4 = 15,
  C_IPV6 = 16,
  C_BOOL = 17,
  C_ENUM_VALUE = 28,    /* the number of the label in the model */
  C_BINARY = 39,        /* octets, may contain NUL */
  C_IPV4_AND_PLEN = 48, /* address with prefix length, host bits kept */
  C_IPV6_AND_PLEN = 49
};

struct xml_tag {
  uint32_t tag; /* number of the node's name */
  uint32_t ns;  /* number of its namespace */
};

typedef struct confd_buf {
  unsigned int size; /* octets, without the terminating NUL */
  unsigned char* ptr;
} confd_buf_t;

struct confd_ipv4_prefix {
  struct in_addr ip; /* network byte order */
  uint8_t len;       /* 0 to 32 */
};

struct confd_ipv6_prefix {
  struct in6_addr ip6;
  uint8_t len; /* 0 to 128 */
};

typedef struct confd_value {
  enum confd_vtype type;
  union {
    struct xml_tag xmltag;
    confd_buf_t buf; /* C_BUF and C_BINARY */
    char* s;
    int8_t i8;
    int16_t i16;
    int32_t i32;
    int64_t i64;
    uint8_t u8;
    uint16_t u16;
    uint32_t u32;
    uint64_t u64;
    struct in_addr ip;
    struct in6_addr ip6;
    int boolean;
    int32_t enumvalue;
    struct confd_ipv4_prefix ipv4prefix; /* C_IPV4_AND_PLEN */
    struct confd_ipv6_prefix ipv6prefix; /* C_IPV6_AND_PLEN */
  } val;
} confd_value_t;

/* Path of a node, leaf first: v[0] is the last element, v[len - 1] the top
 * node. A node is a C_XMLTAG in v[i][0]. The keys of a list entry are a row of
 * their own in front of the list's tag, ended by C_NOEXISTS. */
typedef struct confd_hkeypath {
  int len;
  confd_value_t v[MAXDEPTH][MAXKEYLEN];
} confd_hkeypath_t;

/* Read a value through a pointer, and assert its type. */
#ifndef CONFD_ASSERT
#define CONFD_ASSERT(E) assert(E)
#endif
#define CONFD_GET_CHECKED(V, TYPE, FIELD) \
  (*(CONFD_ASSERT((V)->type == TYPE), &(V)->val.FIELD))
#define CONFD_GET_XMLTAG(V) CONFD_GET_CHECKED(V, C_XMLTAG, xmltag.tag)
#define CONFD_GET_BUFPTR(V) CONFD_GET_CHECKED(V, C_BUF, buf.ptr)
#define CONFD_GET_BUFSIZE(V) CONFD_GET_CHECKED(V, C_BUF, buf.size)
#define CONFD_GET_BINARY_PTR(V) CONFD_GET_CHECKED(V, C_BINARY, buf.ptr)
#define CONFD_GET_BINARY_SIZE(V) CONFD_GET_CHECKED(V, C_BINARY, buf.size)
#define CONFD_GET_INT32(V) CONFD_GET_CHECKED(V, C_INT32, i32)
#define CONFD_GET_UINT32(V) CONFD_GET_CHECKED(V, C_UINT32, u32)
#define CONFD_GET_ENUM_VALUE(V) CONFD_GET_CHECKED(V, C_ENUM_VALUE, enumvalue)
#define CONFD_GET_IPV4(V) CONFD_GET_CHECKED(V, C_IPV4, ip)

/* The transaction of a validation callback. Owned by the daemon; valid until
 * the callback returns. */
struct confd_trans_ctx {
  int thandle;            /* handle of the transaction, for every MAAPI read */
  void* t_opaque;         /* the application's, for transaction callbacks */
  void* v_opaque;         /* the application's, for the validation phase */
  void* cb_opaque;        /* given when data callbacks were registered */
  void* vcb_opaque;       /* given when the validation point was registered */
  char* callpoint_opaque; /* tailf:opaque of a callpoint, or null */
  char* validate_opaque;  /* tailf:opaque of the validation point, or null */
};

/* Sets the text with which the operator's commit is refused, printf style.
 * The callback must still return CONFD_ERR. A second call replaces the text. */
void confd_trans_seterr(struct confd_trans_ctx* tctx, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/* Prints a value as text. Writes at most `bufsiz` bytes with the NUL; returns
 * the length of the whole text, so a result >= bufsiz means truncated. Knows
 * the value's type only: an enumeration prints as enum<N>, octets as bare
 * lower-case hexadecimal digits, a node by its name or as tag<N>. */
int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v);

/* Frees what a value read by maapi_get_elem() holds, never the struct itself;
 * nothing to do for types of fixed size. Not for the arguments of a callback
 * nor for the keys of a cursor. */
void confd_free_value(confd_value_t* v);

#ifdef __cplusplus
}
#endif

#endif /* IPAV_PLATFORM_CONFD_LIB_H_ */
