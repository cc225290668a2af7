#pragma once
/// @file system.h
/// What the tool asks of the system beyond the standard library. Each target also has its entry point there,
/// which hands the arguments to runTool as UTF-8.

#include <cstdio>
#include <string>
#include <vector>

namespace tool {

int runTool(const std::vector<std::string>& arguments);

/// Streams carry bytes as they are, a console takes UTF-8.
void prepareStreams();
bool isTerminal(std::FILE* stream);
/// Terminal sequences work on standard output.
bool colourWorks();
/// Creates a file that is not there yet; null and errno when it cannot.
std::FILE* createNew(const std::string& path);
/// Everything written so far is on the disk afterwards.
bool flushToDisk(std::FILE* file);
/// The errno of a write whose reader is gone.
bool isClosedPipe(int error);
/// The path as backupFile takes it; empty when it cannot be said that way.
std::string systemPath(const std::string& path);

} // namespace tool
