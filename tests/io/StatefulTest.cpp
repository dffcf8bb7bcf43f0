#include "zeb/io/Stateful.h"
#include "zeb/core/RString.h"
#include "zeb/core/Status.h"

#include <gtest/gtest.h>

namespace {

using Io::Stateful;
using enum Io::Stateful::StateT;

constexpr ReturnT OK_CODE{0x00420001};
constexpr ReturnT FAIL_CODE{0x80420002};

struct Root : Stateful {
    Root()
        : Stateful(OK_CODE, FAIL_CODE) {}
    Status* ObjStatus_() const override { return follows ? &status : nullptr; }
    using Stateful::Break_;

    mutable Status status;
    bool follows = false;
};

std::string Message(Status const& status) {
    RString<1024> text;
    status.Get(nullptr, nullptr, nullptr, &text);
    return text.Cstr();
}

TEST(Stateful, HasAWordForEveryState) {
    std::string all;
    for (unsigned state = 0; state <= 10; ++state) {
        Root root;
        root.SetState(static_cast<Stateful::StateT>(state));
        all += root.ErrorString() + std::string(",");
        EXPECT_EQ(root.Initialized(), state != STATE_BROKEN);
        EXPECT_EQ(root.CurrentCode(), state == 0 ? OK_CODE : FAIL_CODE);
    }
    EXPECT_EQ(all,
              "ok,object is broken,operation interrupted,operation timeout,truncated input,out of memory,"
              "end of stream,connection reset by peer,operation failed,invalid input,unknown state,");
}

TEST(Stateful, TheFirstFailureWinsUntilItIsClearedAndBrokenIsFinal) {
    struct {
        void (*record)(Stateful const&);
        Stateful::StateT state;
        uint32_t code;
        int error;
    } const rows[] = {
        {[](Stateful const& s) { s.SetState(STATE_TIMEOUT); }, STATE_TIMEOUT, FAIL_CODE, 0},
        {[](Stateful const& s) { s.SetSysError_(EIO); }, STATE_FAILED, FAIL_CODE, EIO},
        {[](Stateful const& s) { s.SetObjState(0x80330003); }, STATE_FAILED, 0x80330003, 0},
        {[](Stateful const& s) { s.SetObjBroken(0x80330004); }, STATE_BROKEN, 0x80330004, 0},
    };
    for (auto const& first : rows) {
        for (auto const& second : rows) {
            Root root;
            first.record(root);
            second.record(root);
            EXPECT_EQ(root.CurrentState(), first.state);
            EXPECT_EQ(root.CurrentCode(), first.code);
            EXPECT_EQ(root.SysError(), first.error);
            root.ClearState_();
            EXPECT_EQ(root.Ok(), first.state != STATE_BROKEN);
            EXPECT_EQ(root.CurrentCode(), root.Ok() ? OK_CODE.Code() : first.code);
        }
        Root constructed; // a failed constructor keeps its reason
        first.record(constructed);
        constructed.Break_();
        EXPECT_EQ(constructed.CurrentState(), STATE_BROKEN);
        EXPECT_EQ(constructed.SysError(), first.error);
    }
}

TEST(Stateful, RecordsOnTheRootOfItsChain) {
    Root root;
    Stateful middle(root), leaf(middle, OK_CODE, FAIL_CODE);
    leaf.SetState(STATE_RESET);
    leaf.SetState_(STATE_EOS); // on the leaf alone
    EXPECT_EQ(root.CurrentState(), STATE_RESET);
    EXPECT_EQ(leaf.CurrentState(), STATE_RESET);
    leaf.Attach(&leaf);
    EXPECT_EQ(leaf.CurrentState(), STATE_EOS);
}

TEST(Stateful, TakesItsStateFromAStatusAndHandsItOut) {
    struct {
        ReturnT code;
        Stateful::StateT plain, broken; // by SetObjStatus, by SetObjStatusBroken
    } const rows[] = {
        {0x00C90064, STATE_OK, STATE_BROKEN},
        {0x80C90064, STATE_BROKEN, STATE_BROKEN},
        {ReturnT::Oom(), STATE_NO_MEMORY, STATE_NO_MEMORY},
        {0x0FFE0001, STATE_OK, STATE_NO_MEMORY},
    };
    for (auto const& row : rows) {
        for (Stateful::StateT const before : {STATE_OK, STATE_EOS, STATE_BROKEN}) {
            Status status, got;
            status.Set(row.code, "Test", "the reason.");
            Root plain, broken;
            Stateful const leaf(plain);
            plain.follows = true;
            plain.SetState(before);
            broken.SetState(before);
            plain.SetObjStatus(status);
            broken.SetObjStatusBroken(status);
            bool const fresh = before == STATE_OK;
            EXPECT_EQ(plain.CurrentState(), fresh ? row.plain : before);
            EXPECT_EQ(broken.CurrentState(), before == STATE_BROKEN ? before : row.broken);
            EXPECT_TRUE(leaf.GetObjStatus(got));
            EXPECT_EQ(Message(got), fresh ? "the reason." : "");
            EXPECT_FALSE(broken.GetObjStatus(got) || got.IsDefined());
        }
    }
}

} // namespace
