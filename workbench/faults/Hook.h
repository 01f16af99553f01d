#pragma once

#include "workbench/faults/Injector.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <type_traits>

namespace faults {

/// A function's name as a template argument: each imported function has a hook type of its own.
template <std::size_t Size>
struct FunctionName {
    constexpr FunctionName(const char (&name)[Size]) { std::copy_n(name, Size, text); }
    char text[Size];
};

template <class Result>
Result AnswerAs(std::intptr_t answer) {
    if constexpr (std::is_pointer_v<Result>) {
        return reinterpret_cast<Result>(answer);
    } else if constexpr (!std::is_void_v<Result>) {
        return static_cast<Result>(answer);
    }
}

/// A failed COM or registry call leaves its pointer results null.
template <class Argument>
void ClearResult(Argument& argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        using Target = std::remove_pointer_t<Argument>;
        if constexpr (std::is_pointer_v<Target> && !std::is_const_v<Target>) {
            if (argument != nullptr) {
                *argument = nullptr;
            }
        }
    }
}

/// Whether a call that closes something was given something: null is allowed, and closes nothing.
inline bool GivenSomething() {
    return true;
}
template <class First, class... Others>
bool GivenSomething(First first, Others...) {
    if constexpr (std::is_pointer_v<First>) {
        return first != nullptr;
    } else {
        return true;
    }
}

template <class Result>
bool Opened(const HookInfo& hook, Result result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result != nullptr && reinterpret_cast<std::intptr_t>(result) != hook.answer;
    } else {
        return static_cast<std::intptr_t>(result) == 0; // a status
    }
}

/// Stands in for an imported function: fails when it is its turn, and calls the original otherwise.
template <FunctionName Name, class Function>
struct Hook;

template <FunctionName Name, class Result, class... Arguments>
struct Hook<Name, Result(Arguments...)> {
    static inline HookInfo info{.name = Name.text};

    static Result Call(Arguments... arguments) {
        const bool strikes = Strikes(info);
        if (strikes && !info.failsAfterwards) {
            if constexpr (std::is_same_v<Result, long>) {
                (ClearResult(arguments), ...);
            }
            return AnswerAs<Result>(info.answer);
        }
        const auto original = reinterpret_cast<Result (*)(Arguments...)>(info.original);
        if constexpr (std::is_void_v<Result>) {
            original(arguments...);
            Balance();
        } else {
            const Result result = original(arguments...);
            if (info.balanceStep < 0 ? GivenSomething(arguments...) : Opened(info, result)) {
                Balance();
            }
            if (!strikes) {
                return result;
            }
            GiveReason(info);
            return AnswerAs<Result>(info.answer);
        }
    }

    static void Balance() {
        if (info.balance != nullptr) {
            std::atomic_ref(*info.balance) += info.balanceStep;
        }
    }
};

struct HookOptions {
    bool failsAfterwards = false;
    bool hostThreadOnly = false;
    const char* opens = nullptr;  // what a success opens
    const char* closes = nullptr; // what the call closes
};

struct Failure {
    std::intptr_t answer = 0;
    Reason reason = Reason::None;
    int code = 0;
};

HookInfo* Complete(HookInfo& info, void* replacement, KindMask kinds, const Failure& failure,
                   const HookOptions& options);

template <FunctionName Name, class Function>
HookInfo* MakeHook(KindMask kinds, const Failure& failure, const HookOptions& options = {}) {
    using Type = Hook<Name, Function>;
    return Complete(Type::info, reinterpret_cast<void*>(&Type::Call), kinds, failure, options);
}

} // namespace faults
