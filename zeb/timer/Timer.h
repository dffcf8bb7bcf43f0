#pragma once

// Timer<T>: a timer that calls a member function of its owner. Its rules are those of TimerBase.h.
//
//   class Led {
//   public:
//       ~Led() { blink_.Cancel(); }
//
//   private:
//       void Blink_() { blink_.Set(500L); ... }             // with mutex_ held
//       Mutex mutex_{Mutex::LED_CONTROL};
//       Timer<Led> const blink_{"Led", this, &Led::Blink_, &mutex_};
//   };
//
// Owns     nothing: name, object and lock outlive the timer. So it is the last member of its class, and goes
//          ahead of what its callback uses.

#include "zeb/timer/TimerBase.h"

template<class T>
class Timer final : public TimerBase {
public:
    using MethodT = void (T::*)();

    // The name is that in log lines, kept as a view. The lock may be null.
    Timer(CString const& name, T* object, MethodT method, Mutex const* lock,
          CString const& queueName = QUEUE_NAME_DEFAULT)
        : TimerBase(name, lock, queueName)
        , object_(object)
        , method_(method) {}
    ~Timer() override { Leave_(); }

    void Run() const override { (object_->*method_)(); }

private:
    T* object_;
    MethodT method_;
};
