// Texts as the file of public keys that may log in over SSH.
//
// Legal: as many keys as there are lines that are neither blank nor a comment,
// each of the type that its line names, and each is found; or a refusal that
// names the file and the first such line without a valid key: the lines before
// it are accepted, and this line alone is refused.
//
// Input: the file.

#include "ipavd/transport/authorized_keys.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/memory_file.h"
#include "fuzz/support/target.h"

namespace ipav::fuzz {

namespace {

using transport::AuthorizedKeys;
using transport::Key;

struct Outcome {
  std::size_t refused_line = 0;  // from 1; 0: none
  std::size_t keys = 0;
};

std::size_t LineOf(const std::string& refusal, const std::string& file) {
  const std::string begin = file + ":";
  const std::string end = ": not TYPE and BASE64 of a public key";
  Require(refusal.rfind(begin, 0) == 0, "a refusal that names no file");
  std::size_t digits = 0;
  const std::string rest = refusal.substr(begin.size());
  const std::size_t line = std::stoul(rest, &digits);
  Require(rest.substr(digits) == end, "an unknown refusal");
  return line;
}

// Lines that must be keys.
bool IsKeyLine(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t\r");
  return start != std::string::npos && line[start] != '#';
}

// The key that a line is, read by its own text.
Key KeyOf(const std::string& line) {
  std::istringstream words(line);
  std::string type;
  std::string base64;
  words >> type >> base64;
  ssh_key key = nullptr;
  const int result = ssh_pki_import_pubkey_base64(
      base64.c_str(), ssh_key_type_from_name(type.c_str()), &key);
  Require(result == SSH_OK, "a line with a key has none");
  Require(ssh_key_type(key) == ssh_key_type_from_name(type.c_str()),
          "a key of another type than its line says");
  return Key(key);
}

Outcome Read(const std::string& text) {
  static const MemoryFile kFile;
  kFile.Write(text);
  try {
    const AuthorizedKeys keys = AuthorizedKeys::FromFile(kFile.path());
    for (const std::string& line : Split(text, '\n')) {
      if (!IsKeyLine(line)) continue;
      Require(keys.Has(KeyOf(line).get()), "a key that nobody has");
    }
    return {0, keys.size()};
  } catch (const std::runtime_error& error) {
    return {LineOf(error.what(), kFile.path()), 0};
  }
}

void Judge(const std::string& text) {
  const std::vector<std::string> lines = Split(text, '\n');
  const Outcome outcome = Read(text);
  if (outcome.refused_line == 0) {
    Require(outcome.keys == static_cast<std::size_t>(std::count_if(
                                lines.begin(), lines.end(), IsKeyLine)),
            "another number of keys than lines");
    return;
  }
  Require(outcome.refused_line <= lines.size(), "a line that is not there");
  const std::string& refused = lines[outcome.refused_line - 1];
  Require(IsKeyLine(refused), "a line refused that needs no key");
  Require(Read(refused).refused_line == 1, "a line refused, but not alone");
  std::string before;
  for (std::size_t i = 0; i + 1 < outcome.refused_line; ++i) {
    before += lines[i] + '\n';
  }
  Require(Read(before).refused_line == 0, "an earlier line is refused");
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ipav::fuzz::Judge(std::string(data, data + size));
  return 0;
}
