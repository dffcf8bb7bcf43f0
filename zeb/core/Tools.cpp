#include "zeb/core/Tools.h"

namespace Tools {

CodePair const& CodePair::Nil() {
    static constexpr CodePair nil{0, 0};
    return nil;
}

bool CodePair::Translate(ReturnT const& code, ReturnT& out) const {
    if (code != from_) return false;
    out = to_;
    return true;
}

ReturnT TranslateCode(ReturnT const& code, CodePair const* pairs, ReturnT const& defaultCode) {
    if (code.Facility() >= Facility::FAIL) return code;
    ReturnT result = defaultCode;
    for (; !pairs->IsNil(); ++pairs) {
        if (pairs->Translate(code, result)) break;
    }
    return result;
}

} // namespace Tools
