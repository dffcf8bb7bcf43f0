// What a return code says.
#pragma once

#include <cstdint>
#include <string>

// Reads a code as it stands in a log, a document or a program: 0xCFFD00BE, cffd00be, [0xcffd00be], 3489464510
// or -805502786. Eight digits are hexadecimal. False for any other text.
bool ReadCode(std::string text, uint32_t& code);

// One line, without its end.
std::string Explain(uint32_t code);
