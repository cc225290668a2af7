#pragma once
// Processes of our own that play a role: what the parent cannot do without ending or sharing its state.

#include <string>

/// What a child does; the result is its exit code. Defined by the test that uses children.
int playRole(const std::string& role);

/// Starts a child; returns its handle.
void* startChild(const std::string& role);
/// Waits for its end: its exit code; on Linux minus the signal that ended it.
int endOfChild(void* child);
