# Writes a copy of the seam's declarations whose structures are laid out
# otherwise, with more members in another order, as a real SDK's may be:
#   cmake -DFROM=platform/include -DTO=FOLDER -P other_layout.cmake
# What builds and passes against both relies on no layout.

file(COPY ${FROM}/ DESTINATION ${TO})

# Replaces a text of a header, which must be there.
function(change header from to)
  file(READ ${TO}/${header} text)
  string(FIND "${text}" "${from}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "${header} has no longer: ${from}")
  endif()
  string(REPLACE "${from}" "${to}" text "${text}")
  file(WRITE ${TO}/${header} "${text}")
endfunction()

change(confd_lib.h "struct xml_tag {" "struct xml_tag {\n  uint16_t more;")
change(confd_lib.h "typedef struct confd_buf {"
  "typedef struct confd_buf {\n  unsigned char* more;")
change(confd_lib.h "struct confd_ipv4_prefix {\n"
  "struct confd_ipv4_prefix {\n  uint8_t more;\n")
change(confd_lib.h "struct confd_ipv6_prefix {\n"
  "struct confd_ipv6_prefix {\n  uint8_t more;\n")

# The type of a value behind its content.
change(confd_lib.h "  enum confd_vtype type;\n  union {"
  "  union {\n    long double more;")
change(confd_lib.h "  } val;\n" "  } val;\n  enum confd_vtype type;\n")

change(confd_lib.h
  "  int len;\n  confd_value_t v[MAXDEPTH][MAXKEYLEN];\n"
  "  confd_value_t v[MAXDEPTH][MAXKEYLEN];\n  int len;\n")

# The context of a transaction ends with its handle.
change(confd_lib.h "struct confd_trans_ctx {\n"
  "struct confd_trans_ctx {\n  char* more;\n")
change(confd_lib.h
  "  int thandle;            /* handle of the transaction, for every MAAPI read */\n"
  "")
change(confd_lib.h
  "/* tailf:opaque of the validation point, or null */\n"
  "\n  int and_more[3];\n  int thandle;\n")

change(confd_maapi.h
  "  confd_value_t keys[MAXKEYLEN];\n  int n;\n  void* impl; /* the library's own */\n"
  "  void* impl;\n  int n;\n  int more;\n  confd_value_t keys[MAXKEYLEN];\n")
