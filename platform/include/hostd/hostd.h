// The host framework inside the configuration daemon that loads the plug-in:
// its handle, its MAAPI socket and the slot that keeps the plug-in's context.
#ifndef IPAV_PLATFORM_HOSTD_HOSTD_H_
#define IPAV_PLATFORM_HOSTD_HOSTD_H_

typedef struct hostd hostd_t;
class HostdInterface;

extern "C" {

// The MAAPI socket on which this host reads, negative on failure. The argument
// is the `vcb_opaque` of the transaction context.
int hostd_maapi_socket_get(hostd_t* hostd);

// The host's instance, for a HostdCdbSessionBase. Owned by the host.
HostdInterface* hostd_instance_get(hostd_t* hostd);

// The context that lib_init() of the named validation set stored, or null.
// The first argument is the `v_opaque` of the transaction context.
void* get_lib_context(void* v_opaque, const char* name);

}  // extern "C"

#endif  // IPAV_PLATFORM_HOSTD_HOSTD_H_
