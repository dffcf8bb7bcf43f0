#pragma once

// Reads a list of device nodes (Device.h has its form) and has them made, line by line. Not installed.

#include "zeb/filesystem/Device.h"

class String;
class StringVector;

namespace Io {
class IStream;
}

namespace FileSystem {

class ZEB_PUBLIC DeviceList {
public:
    static constexpr unsigned long LINE_LIMIT = 256;

    class Maker;

    DeviceList(Maker& maker, Device::DevPtsCreateT pts)
        : maker_(maker)
        , pts_(pts) {}

    ReturnT Run(Io::IStream& list);

private:
    ReturnT Line_(String const& line);
    ReturnT Directory_(StringVector const& words);
    void Node_(StringVector const& words);
    bool Number_(char const* message, String const& word, unsigned int& number) const;

    Maker& maker_;
    Device::DevPtsCreateT pts_;
    unsigned long line_ = 0;
};

// What the list asks for. Failures are logged by the maker; that of a directory ends the run.
class ZEB_PUBLIC DeviceList::Maker {
public:
    virtual ~Maker() = default;
    virtual bool MakeDirectory(CString const& name) = 0;
    virtual void MakeNode(CString const& name, unsigned int mode, unsigned int major, unsigned int minor) = 0;
};

} // namespace FileSystem
