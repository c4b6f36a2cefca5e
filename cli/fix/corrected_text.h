// The text of a configuration's file after corrections of its data.
#ifndef IPAV_CLI_FIX_CORRECTED_TEXT_H_
#define IPAV_CLI_FIX_CORRECTED_TEXT_H_

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/datastore/data_tree.h"
#include "host/datastore/input_text.h"
#include "host/source/rewriter.h"
#include "messages/finding.h"

namespace ipav::cli::fix {

// The text is written in a way that cannot be corrected: a new text would have
// other data.
class NotCorrected : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What is to be replaced in the text of `before`, so that it has the data of
// `after`. The new text is read again and compared with that data; throws
// NotCorrected if it has other data.
std::vector<source::Replacement> Correct(const datastore::InputText& text,
                                         const datastore::DataTree& before,
                                         const datastore::DataTree& after);

// The same by line and column.
std::vector<messages::TextEdit> EditsOf(
    std::string_view bytes,
    const std::vector<source::Replacement>& replacements);

// As diff -u; empty without replacements.
std::string UnifiedDiff(const std::string& file, std::string_view bytes,
                        const std::vector<source::Replacement>& replacements);

}  // namespace ipav::cli::fix

#endif  // IPAV_CLI_FIX_CORRECTED_TEXT_H_
