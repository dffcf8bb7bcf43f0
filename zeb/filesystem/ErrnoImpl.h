#pragma once

// The error of a system call, for whoever asked for it. Not installed.
//
//   return Tell(mkdir(path, MODE) == 0, error);

#include <cerrno>

namespace FileSystem {

inline void Store(int value, int* error) {
    if (error) *error = value;
}

// Nothing may come between the call and this, which reads errno.
inline bool Tell(bool isDone, int* error) {
    Store(isDone ? 0 : errno, error);
    return isDone;
}

} // namespace FileSystem
