// The allocation functions of this executable. Allocations of the plug-in
// within a validation call are counted, tracked until they are freed, and can
// be made to fail. Those of the fake platform are not counted and never fail.
#ifndef IPAV_TESTS_FAULTS_ALLOCATIONS_H_
#define IPAV_TESTS_FAULTS_ALLOCATIONS_H_

#include <cstddef>

namespace ipav::faults {

// Counts from now on. Allocation `number` of the plug-in fails; 0: none does.
void FailAllocation(unsigned number);

// Since then: whether an allocation failed, and whether the validation call
// threw for it.
bool AllocationFailed();
bool RanOutOfMemory();
void NoteRanOutOfMemory();

// Of the plug-in, since the start of the process.
std::size_t LiveAllocations();

// Texts that the plug-in was given and did not free, since the start of the
// process.
std::size_t UnfreedXpathAnswers();

}  // namespace ipav::faults

#endif  // IPAV_TESTS_FAULTS_ALLOCATIONS_H_
