// The functions of libxml2 that this program calls. Each calls libxml2's own
// function, and the first call loads libxml2. With ICU, to which it is linked,
// it would take 0.7 ms and 1.3 MiB of every check; a check of plain XML that is
// accepted does not need it. A test verifies that none is missing here.
#include <dlfcn.h>
#include <libxml/parser.h>
#include <libxml/uri.h>
#include <libxml/xmlwriter.h>

#include <cstdlib>
#include <stdexcept>

namespace {

// Calls the function of that name and type in libxml2.
template <typename Result, typename... Parameters>
Result Call(const char* name, Result (*type)(Parameters...),
            Parameters... arguments) {
  static void* const library = dlopen("libxml2.so.2", RTLD_NOW | RTLD_LOCAL);
  void* symbol = library == nullptr ? nullptr : dlsym(library, name);
  if (symbol == nullptr) throw std::runtime_error("libxml2.so.2 is missing");
  return reinterpret_cast<decltype(type)>(symbol)(arguments...);
}

}  // namespace

extern "C" {

// libxml2 has this value, too, unless a program changes it.
xmlFreeFunc xmlFree = std::free;

xmlBuffer* xmlBufferCreate() { return Call(__func__, xmlBufferCreate); }
void xmlBufferFree(xmlBuffer* buf) { Call(__func__, xmlBufferFree, buf); }
const xmlChar* xmlBufferContent(const xmlBuffer* buf) {
  return Call(__func__, xmlBufferContent, buf);
}
int xmlNodeDump(xmlBuffer* buf, xmlDoc* doc, xmlNode* cur, int level,
                int format) {
  return Call(__func__, xmlNodeDump, buf, doc, cur, level, format);
}
xmlParserCtxt* xmlCreateIOParserCtxt(xmlSAXHandler* sax, void* user_data,
                                     xmlInputReadCallback ioread,
                                     xmlInputCloseCallback ioclose, void* ioctx,
                                     xmlCharEncoding enc) {
  return Call(__func__, xmlCreateIOParserCtxt, sax, user_data, ioread, ioclose,
              ioctx, enc);
}
xmlParserCtxt* xmlCreatePushParserCtxt(xmlSAXHandler* sax, void* user_data,
                                       const char* chunk, int size,
                                       const char* filename) {
  return Call(__func__, xmlCreatePushParserCtxt, sax, user_data, chunk, size,
              filename);
}
int xmlCtxtUseOptions(xmlParserCtxt* ctxt, int options) {
  return Call(__func__, xmlCtxtUseOptions, ctxt, options);
}
xmlNode* xmlDocGetRootElement(const xmlDoc* doc) {
  return Call(__func__, xmlDocGetRootElement, doc);
}
void xmlFreeDoc(xmlDoc* cur) { Call(__func__, xmlFreeDoc, cur); }
void xmlFreeParserCtxt(xmlParserCtxt* ctxt) {
  Call(__func__, xmlFreeParserCtxt, ctxt);
}
void xmlFreeTextWriter(xmlTextWriter* writer) {
  Call(__func__, xmlFreeTextWriter, writer);
}
xmlTextWriter* xmlNewTextWriter(xmlOutputBuffer* out) {
  return Call(__func__, xmlNewTextWriter, out);
}
xmlChar* xmlNodeGetContent(const xmlNode* cur) {
  return Call(__func__, xmlNodeGetContent, cur);
}
xmlOutputBuffer* xmlOutputBufferCreateIO(xmlOutputWriteCallback iowrite,
                                         xmlOutputCloseCallback ioclose,
                                         void* ioctx,
                                         xmlCharEncodingHandler* encoder) {
  return Call(__func__, xmlOutputBufferCreateIO, iowrite, ioclose, ioctx,
              encoder);
}
int xmlParseChunk(xmlParserCtxt* ctxt, const char* chunk, int size,
                  int terminate) {
  return Call(__func__, xmlParseChunk, ctxt, chunk, size, terminate);
}
int xmlParseDocument(xmlParserCtxt* ctxt) {
  return Call(__func__, xmlParseDocument, ctxt);
}
xmlDoc* xmlReadMemory(const char* buffer, int size, const char* URL,
                      const char* encoding, int options) {
  return Call(__func__, xmlReadMemory, buffer, size, URL, encoding, options);
}
void xmlStopParser(xmlParserCtxt* ctxt) { Call(__func__, xmlStopParser, ctxt); }
int xmlTextWriterEndDocument(xmlTextWriter* writer) {
  return Call(__func__, xmlTextWriterEndDocument, writer);
}
int xmlTextWriterEndElement(xmlTextWriter* writer) {
  return Call(__func__, xmlTextWriterEndElement, writer);
}
int xmlTextWriterFlush(xmlTextWriter* writer) {
  return Call(__func__, xmlTextWriterFlush, writer);
}
int xmlTextWriterSetIndent(xmlTextWriter* writer, int indent) {
  return Call(__func__, xmlTextWriterSetIndent, writer, indent);
}
int xmlTextWriterStartDocument(xmlTextWriter* writer, const char* version,
                               const char* encoding, const char* standalone) {
  return Call(__func__, xmlTextWriterStartDocument, writer, version, encoding,
              standalone);
}
int xmlTextWriterStartElement(xmlTextWriter* writer, const xmlChar* name) {
  return Call(__func__, xmlTextWriterStartElement, writer, name);
}
int xmlTextWriterWriteAttribute(xmlTextWriter* writer, const xmlChar* name,
                                const xmlChar* content) {
  return Call(__func__, xmlTextWriterWriteAttribute, writer, name, content);
}
int xmlTextWriterWriteString(xmlTextWriter* writer, const xmlChar* content) {
  return Call(__func__, xmlTextWriterWriteString, writer, content);
}
xmlChar* xmlURIEscapeStr(const xmlChar* str, const xmlChar* list) {
  return Call(__func__, xmlURIEscapeStr, str, list);
}
char* xmlURIUnescapeString(const char* str, int len, char* target) {
  return Call(__func__, xmlURIUnescapeString, str, len, target);
}

}  // extern "C"
