// Gives one text to a test body in all the cuts that a reader must not notice: whole, byte by byte, in
// prime-sized pieces, and in pieces of seeded random sizes.
//
//     ForEveryFeed("{\"a\":1}", [](FeedT const& pieces) {
//         for (std::string_view const piece : pieces) ASSERT_TRUE(parser.Push(piece));
//     });
//
// Each piece is a copy of its own without a terminator behind it, so that a sanitizer sees a read past its
// end. Stops at the first cut in which an expectation failed, and names it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

using FeedT = std::vector<std::string_view>;

void ForEveryFeed(std::string_view text, std::function<void(FeedT const& pieces)> const& body);

// The text as a file, for a reader that opens it by its path: read whole, and then byte by byte, with each
// read() of this thread interrupted and told to try again first. Stops like ForEveryFeed. A descriptor that
// the body leaves open fails the test.
void ForEveryRead(std::string const& text, std::function<void(char const* path)> const& body);

// The texts that a parser of this one should refuse: it is cut at each place behind its first character, and
// each of its characters in turn is left out, or is `other`. Fields of one character are empty then, too.
std::vector<std::string> Damaged(std::string const& text, char other);

// The sizes that ForEveryFeed uses for a text of that size: 0 (whole), 1, 2, 3, 5, 7, 11, 13, ...
std::vector<std::size_t> FeedSteps(std::size_t size);
