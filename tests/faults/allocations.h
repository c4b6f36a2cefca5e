// The allocation functions of this executable: those that the plug-in makes
// within a validation call are counted, can be made to fail, and are known
// until they are freed. Those of the fake platform stand for none of the
// daemon's and never fail.
#ifndef IPAV_TESTS_FAULTS_ALLOCATIONS_H_
#define IPAV_TESTS_FAULTS_ALLOCATIONS_H_

#include <cstddef>

namespace ipav::faults {

// Counts from now on. Allocation `number` of the plug-in fails; 0: none does.
void FailAllocation(unsigned number);

// Since then: whether it came to that, and whether an exception left the
// validation call for it.
bool AllocationFailed();
bool RanOutOfMemory();
void NoteRanOutOfMemory();

// Of the plug-in's, since the start of the process.
std::size_t LiveAllocations();

// Texts that the plug-in was given and did not free, since the start of the
// process.
std::size_t UnfreedXpathAnswers();

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_ALLOCATIONS_H_
