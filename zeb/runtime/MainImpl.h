#pragma once

// What the frame and the crash path share. Not installed.

#include <csignal>

// The identifier of the client, "Main" until there is a Main.
char const* MainIdent_();

// The process group that a crash ends, -1 until there is a Main.
int MainGroup_();

// The handler of fatal signals: reports, and ends the process group.
void UnexpectedSignal_(int signal, siginfo_t* info, void* context);

// Start and stop of the TLS library; defined in zeb/ssl/Lib.cpp.
bool InitializeTls_();
void CleanupTls_();
