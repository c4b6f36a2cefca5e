// Types of values as the help has them, where they tell what to complete.
#ifndef IPAV_CLI_COMMAND_LINE_TYPES_H_
#define IPAV_CLI_COMMAND_LINE_TYPES_H_

namespace ipav::cli::command_line {

inline constexpr char kFile[] = "FILE";  // or a folder of files
inline constexpr char kFolder[] = "FOLDER";
inline constexpr char kTopic[] = "TOPIC";  // of ipav explain

}  // namespace ipav::cli::command_line

#endif  // IPAV_CLI_COMMAND_LINE_TYPES_H_
