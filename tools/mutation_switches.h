#pragma once
// Switches of tools/mutate_at_once.py: each stands for one change of a source. The environment names the one
// that is on (KVMUT), and a file that gets the numbers of those that were passed (KVMUT_PASSED); a minus
// marks a change that the types do not allow. An operator becomes a call of the same rank: a < b is written a
// < Less<7>() < b.

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <type_traits>
#include <utility>

namespace kvmut {

struct Passed {
    signed char of[KVMUT_COUNT] = {};
    const int on;
    Passed() : on(std::getenv("KVMUT") != nullptr ? std::atoi(std::getenv("KVMUT")) : 0) {}
    Passed(const Passed&) = delete;
    ~Passed() {
        const char* path = std::getenv("KVMUT_PASSED");
        std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr;
        for (int i = 0; file != nullptr && i < KVMUT_COUNT; ++i)
            if (of[i] != 0)
                std::fprintf(file, "%d\n", of[i] * i);
        if (file != nullptr)
            std::fclose(file);
    }
};
inline Passed passed;

inline bool isOn(int number) {
    passed.of[number] = 1;
    return passed.on == number;
}
inline void cannotBe(int number) { passed.of[number] = -1; }

#define KVMUT(number) ::kvmut::isOn(number)

template <bool isAnd, class Left, class Right>
bool logic(bool isOn, const Left& left, const Right& right) {
    return isAnd != isOn ? left() && right() : left() || right();
}

#define KVMUT_BINARY(NAME, SIGN, OTHER)                                                                      \
    template <int number>                                                                                    \
    struct NAME {};                                                                                          \
    template <class A, int number>                                                                           \
    struct NAME##Half {                                                                                      \
        const A& a;                                                                                          \
    };                                                                                                       \
    template <class A, int number>                                                                           \
    NAME##Half<A, number> operator SIGN(const A& a, NAME<number>) {                                          \
        return {a};                                                                                          \
    }                                                                                                        \
    template <class A, class B, class = void>                                                                \
    struct NAME##Other : std::false_type {};                                                                 \
    template <class A, class B>                                                                              \
    struct NAME##Other<A, B, std::void_t<decltype(std::declval<const A&>() OTHER std::declval<const B&>())>> \
        : std::is_same<decltype(std::declval<const A&>() OTHER std::declval<const B&>()),                    \
                       decltype(std::declval<const A&>() SIGN std::declval<const B&>())> {};                 \
    template <class A, int number, class B>                                                                  \
    auto operator SIGN(NAME##Half<A, number> left, const B& b)->std::decay_t<decltype(left.a SIGN b)> {      \
        if constexpr (NAME##Other<A, B>::value) {                                                            \
            if (isOn(number))                                                                                \
                return left.a OTHER b;                                                                       \
        } else {                                                                                             \
            cannotBe(number);                                                                                \
        }                                                                                                    \
        return left.a SIGN b;                                                                                \
    }

KVMUT_BINARY(Less, <, <=)
KVMUT_BINARY(LessEqual, <=, <)
KVMUT_BINARY(Greater, >, >=)
KVMUT_BINARY(GreaterEqual, >=, >)
KVMUT_BINARY(Equal, ==, !=)
KVMUT_BINARY(Unequal, !=, ==)
KVMUT_BINARY(Plus, +, -)
KVMUT_BINARY(Minus, -, +)
KVMUT_BINARY(Times, *, /)
KVMUT_BINARY(Over, /, *)

#define KVMUT_ASSIGNMENT(NAME, SIGN, OTHER)                                                                  \
    template <class B, int number>                                                                           \
    struct NAME##Half {                                                                                      \
        const B& b;                                                                                          \
    };                                                                                                       \
    template <int number>                                                                                    \
    struct NAME {                                                                                            \
        template <class B>                                                                                   \
        NAME##Half<B, number> operator=(const B& b) {                                                        \
            return {b};                                                                                      \
        }                                                                                                    \
        template <class B>                                                                                   \
        NAME##Half<B, number> operator SIGN(const B& b) {                                                    \
            return {b};                                                                                      \
        }                                                                                                    \
    };                                                                                                       \
    template <class A, class B, class = void>                                                                \
    struct NAME##Other : std::false_type {};                                                                 \
    template <class A, class B>                                                                              \
    struct NAME##Other<A, B, std::void_t<decltype(std::declval<A&>() OTHER std::declval<const B&>())>>       \
        : std::true_type {};                                                                                 \
    template <class A, int number, class B>                                                                  \
    A& operator SIGN(A& a, NAME##Half<B, number> right) {                                                    \
        if constexpr (NAME##Other<A, B>::value) {                                                            \
            if (isOn(number))                                                                                \
                a OTHER right.b;                                                                             \
            else                                                                                             \
                a SIGN right.b;                                                                              \
        } else {                                                                                             \
            cannotBe(number);                                                                                \
            a SIGN right.b;                                                                                  \
        }                                                                                                    \
        return a;                                                                                            \
    }

KVMUT_ASSIGNMENT(Add, +=, -=)
KVMUT_ASSIGNMENT(Take, -=, +=)

template <int number, bool isUp>
struct Before {
    template <class T>
    T& operator->*(T& value) const {
        isOn(number) != isUp ? ++value : --value;
        return value;
    }
};
template <int number, bool isUp>
struct After {};
template <class T, int number, bool isUp>
T operator->*(T& value, After<number, isUp>) {
    T old = value;
    isOn(number) != isUp ? ++value : --value;
    return old;
}

template <int number, bool isLeast>
struct Extreme {
    template <class T>
    T operator()(const T& a, const T& b) const {
        return isOn(number) != isLeast ? (b < a ? b : a) : (a < b ? b : a);
    }
    template <class T>
    T operator()(std::initializer_list<T> values) const {
        T found = *values.begin();
        for (const T& value : values)
            found = (*this)(found, value);
        return found;
    }
};

}  // namespace kvmut
