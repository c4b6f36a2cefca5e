// Reads an input file, which may be a device without an end, or standard input.
#ifndef IPAV_HOST_DATASTORE_INPUT_FILE_H_
#define IPAV_HOST_DATASTORE_INPUT_FILE_H_

#include <cstddef>
#include <map>
#include <string>

#include "host/datastore/input_error.h"

namespace ipav::datastore {

// In bytes. A tree takes up to 70 times the memory of its text (worst case: a
// list of names only).
constexpr std::size_t kMaxInputSize = std::size_t{64} << 20;

// The path of standard input, also in messages.
inline constexpr char kStandardInput[] = "<stdin>";

// Throws InputError. A file larger than `max_size` is refused without reading
// it if its size is known.
std::string ReadInput(const std::string& path, std::size_t max_size);

// The error for a file of more bytes.
InputError TooLarge(const std::string& path, std::size_t max_size);

// Texts by the names of files.
using Texts = std::map<std::string, std::string>;

// From now on, ReadInput() returns these texts for the files of their names,
// and does not read standard input.
void ReadTextsInstead(Texts texts);

// Whether a text stands for that file.
bool IsText(const std::string& path);

}  // namespace ipav::datastore

#endif  // IPAV_HOST_DATASTORE_INPUT_FILE_H_
