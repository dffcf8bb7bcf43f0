#pragma once

// What the gateway knows of its machine at one moment, and how it reads that from the kernel.

#include "zeb/core/Array.h"
#include "zeb/core/CString.h"
#include "zeb/core/TimeStamp.h"
#include "zeb/network/IpBlock.h"

class Config;

struct InterfaceSample {
    char name[16];
    unsigned long rxBytes;
    unsigned long rxPackets;
    unsigned long txBytes;
    unsigned long txPackets;
    unsigned long speed;      // bits a second; 0 when the link is down, or has none
    Network::IpBlock address; // the first of IPv4; zero if there is none
};

struct CpuSample {
    unsigned long user; // ticks since the start of the system, all processors together
    unsigned long nice;
    unsigned long system;
    unsigned long idle;
};

struct MemorySample {
    unsigned long total; // KiB
    unsigned long available;
};

struct Sample {
    unsigned long number = 0;
    Time::Stamp at;
    CpuSample cpu{};
    MemorySample memory{};
    Array<InterfaceSample> interfaces;

    // From the files of /proc and /sys below `root`, and, for addresses, from the kernel. What is wrong is
    // logged.
    bool Read(CString const& root, Config const& config);
    bool Assign(Sample const& other);
};
