#pragma once

// What the crash path reads of the frame. Not installed.

// The identifier of the client, "Main" until there is a Main.
char const* MainIdent_();

// The process group that a crash ends, -1 until there is a Main.
int MainGroup_();
