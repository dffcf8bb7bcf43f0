#include "zeb/stream/Stateful.h"
#include "tests/io/Transports.h"
#include "zeb/core/RString.h"
#include "zeb/runtime/Status.h"

#include <fcntl.h>

namespace {

using enum Io::Stateful::StateT;

constexpr ReturnT OK_CODE{0x00420001}, FAIL_CODE{0x80420002};

struct Root : Stateful {
    Root()
        : Stateful(OK_CODE, FAIL_CODE) {}
    Status* ObjStatus_() const override { return &status; }
    mutable Status status;
};

TEST(Stateful, TheFirstFailureWinsUntilItIsClearedAndBrokenIsFinal) {
    std::tuple<void (*)(Stateful const&), Stateful::StateT, ReturnT, int> const rows[] = {
        {[](Stateful const& s) { s.SetState(STATE_TIMEOUT); }, STATE_TIMEOUT, FAIL_CODE, 0},
        {[](Stateful const& s) { s.SetSysError_(EIO); }, STATE_FAILED, FAIL_CODE, EIO},
        {[](Stateful const& s) { s.SetObjState(0x80330003); }, STATE_FAILED, 0x80330003, 0},
        {[](Stateful const& s) { s.SetObjBroken(0x80330004); }, STATE_BROKEN, 0x80330004, 0}};
    for (auto const& [record, state, code, error] : rows)
        for (auto const& second : rows) {
            Root root;
            Stateful const leaf(root);
            record(root);
            std::get<0>(second)(root);
            EXPECT_EQ(std::tuple(leaf.CurrentState(), leaf.CurrentCode(), leaf.SysError()), std::tuple(state, code, error));
            root.ClearState_();
            EXPECT_EQ(leaf.CurrentCode(), state == STATE_BROKEN ? code : OK_CODE);
        }
}

TEST(Stateful, TakesItsStateFromAStatusAndHandsItOut) {
    Status status, got;
    RString<1024> text;
    Root plain, broken, memory;
    status.Set(0x00C90064, "Test", "the reason.");
    plain.SetObjStatus(status);
    EXPECT_TRUE(plain.Ok() && plain.GetObjStatus(got));
    got.Get(nullptr, nullptr, nullptr, &text);
    EXPECT_STREQ(text.Cstr(), "the reason.");
    EXPECT_FALSE(Stateful().GetObjStatus(got) || got.IsDefined());
    plain.SetObjStatusBroken(status);
    status.Set(0x80C90064, "Test", "");
    broken.SetObjStatus(status);
    status.Set(ReturnT::Oom(), "Test", "");
    broken.SetObjStatus(status); // too late
    memory.SetObjStatus(status);
    EXPECT_FALSE(plain.Initialized() || broken.Initialized() || memory.CurrentState() != STATE_NO_MEMORY);
}

TEST(Stateful, AnAliasWorksOnTheRootAndLeavesItsOwnParts) {
    for (bool const made : {true, false}) { // attached by the constructor, or at the end of a chain
        PieceStream root("12 ab\r\ncd", Io::EOL_CRLF, 16), middle("own"), other("own");
        Io::Stream made_of(root, other.buffer, other.buffer, other.eol, other.mode),
            chained(other.buffer, other.buffer, other.eol, other.mode);
        Io::IStream const in(root, other.buffer, other.eol);
        Io::OStream const out(root, other.buffer, other.eol);
        root.mode = Io::ModeOfFlags(O_RDONLY);
        EXPECT_EQ(Io::ModeOfFlags(O_RDWR) - Io::ModeOfFlags(O_WRONLY), 1u); // reading, too
        middle.Attach(&root);
        chained.Attach(&middle);
        Io::Stream& alias = made ? made_of : chained;
        int number = 0;
        String line;
        alias >> number;
        EXPECT_TRUE(alias.Skip(" ", nullptr) && alias.ReadLine(line) && root.ReadLine(line) && alias.Eos());
        EXPECT_EQ(std::to_string(number) + Text(line), "12cd");
        EXPECT_EQ(uint32_t{alias.Eol()} + alias.Mode(), uint32_t{Io::EOL_CRLF} + Io::MODE_READ);
        alias.Width(5).Fill('0').Right().Hex().Upper() << 0xab;
        root << "x" << Io::Endl;
        EXPECT_EQ(root.transport.written, "");
        alias.LazyEndl(false) << Io::Endl; // this one belongs to the object
        EXPECT_EQ(root.transport.written, "000AB0000X\r\n\r\n");
        EXPECT_TRUE(root.IsLazyEndl() && alias.IsEndlCrlf());
        alias.SetState(Stateful::STATE_TIMEOUT);
        EXPECT_FALSE(root.Ok() || alias.Ok() || in.Ok() || out.Ok() || alias.GetChar() != 256);
        alias.Attach(&alias);
        EXPECT_TRUE(alias.Ok() && alias.GetChar() == 'o' && other.transport.written.empty());
    }
}

} // namespace
