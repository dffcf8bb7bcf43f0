#include "zeb/stream/Memory.h"

#include <new>

namespace Io {

bool Memory::Allocate() {
    if (!state_.Ok()) return false;
    Free();
    if ((mode_ & MODE_READ_WRITE) == 0) return state_.Fail(Stateful::STATE_FAILED);
    bool const shared = &input_ == &output_;
    if ((shared || (mode_ & MODE_READ) != 0) && !Give_(input_, inputBlock_)) return false;
    if (!shared && (mode_ & MODE_WRITE) != 0 && !Give_(output_, outputBlock_)) return false;
    return true;
}

bool Memory::Give_(Buffer& buffer, char*& block) {
    block = new (std::nothrow) char[size_];
    if (block == nullptr) {
        Free();
        return state_.Fail(Stateful::STATE_NO_MEMORY);
    }
    buffer.Set(block, size_);
    return true;
}

void Memory::Free() {
    input_.Set(nullptr, 0);
    output_.Set(nullptr, 0);
    delete[] inputBlock_;
    delete[] outputBlock_;
    inputBlock_ = outputBlock_ = nullptr;
}

} // namespace Io
