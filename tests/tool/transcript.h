#pragma once
/// @file transcript.h
/// Transcripts of real use: what was typed and what came of it, replayed with the built tool.
///
///     # a remark
///     --- NAME            the lines up to a line "---" are put into a file
///     @ NAME TEXT         a file of these bytes: \n \t \r \\ \xHH
///     $ ztree get a.xml Item < in.txt > out.txt
///     a line of standard output
///     ! a line of standard error
///     ? 3                 the exit code, when it is not 0
///
/// Words may hold parts in '...', as they are, and in "...", with the escapes of "@"; NAME=VALUE in front
/// sets a variable for the command. Besides ztree there are cat FILE..., ls and rm FILE..., and sh COMMAND on
/// Linux. A line of output that would mean something here has a "\" in front; blank lines at the end of the
/// output are "\" alone. Bytes that are not printable are shown as <HH>, a last line without end is followed
/// by <end>.

#include <string>

/// All bytes of a file, "" when it is not there.
std::string fileText(const std::string& path);

/// Replays a transcript in an empty folder and returns it with what came this time.
std::string replayTranscript(const std::string& transcript, const std::string& folder);
