#pragma once

namespace scm_tool {

// The tool's standard output is its product (a listing, an export, a report): a write that fails
// must never pass for success. These functions turn every way of losing it into a ToolError.

// Call first thing in main: a closed pipe makes writes fail (instead of killing the process by
// SIGPIPE before a registration is committed), and a closed standard stream is replaced by one
// that refuses writes, so that no file the tool opens later takes its number.
void guardStandardStreams();

// Throws ToolError when a write to standard output has failed so far: long commands call it as
// they go, so that they stop instead of producing the rest for nobody.
void requireStandardOutput();

// Flushes and closes standard output; throws ToolError saying why when anything written to it
// since the start was lost (a full disk, a closed pipe or descriptor). Later calls do nothing.
void finishStandardOutput();

}  // namespace scm_tool
