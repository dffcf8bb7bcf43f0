// Short words for what the tests of streams ask.
#pragma once

#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Pieces.h"

using Io::Stateful;

inline std::string Text(CString const& text) { return {text.Cstr(), text.Size()}; }

// -1 on failure.
template<auto GET>
long Number(Io::SeekableStream const& stream) {
    long out = 77;
    if ((stream.*GET)(out)) return out;
    EXPECT_EQ(out, 0);
    return -1;
}
inline auto const Position = Number<&Io::SeekableStream::Tell>;
inline auto const SizeOf = Number<&Io::SeekableStream::GetStreamSize>;

// What is left of a stream, to its end.
inline std::string Rest(Io::IStream& stream) {
    std::string rest;
    for (int c; (c = stream.GetChar()) != Io::IStreamBuffer::CHAR_END;) rest += static_cast<char>(c);
    return rest;
}

// The lines of the log, with @ for the path.
inline std::string Logged(LogCapture& log, std::string const& path) {
    std::string all;
    for (std::string line : log.Take()) {
        if (line.find(path) != line.npos) line.replace(line.find(path), path.size(), "@");
        all += line + "\n";
    }
    return all;
}
