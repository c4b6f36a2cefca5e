// The host's fault service, for conditions that the plug-in tolerates but that
// should be investigated.
#ifndef IPAV_PLATFORM_HOSTMW_FAULT_H_
#define IPAV_PLATFORM_HOSTMW_FAULT_H_

extern "C" void hostmw_gen_fault(int code, const char* function,
                                 const char* file, int line,
                                 const char* message);

#endif  // IPAV_PLATFORM_HOSTMW_FAULT_H_
