// What the arguments of a probe are made of. Internal to probes.
#ifndef KZFI_SIMHOST_CHECK_PROBE_ARGUMENTS_H
#define KZFI_SIMHOST_CHECK_PROBE_ARGUMENTS_H

#include <deque>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "probe.h"

namespace kzfi_simhost {

/// The memory behind the arguments of one call, and what the call did to it.
class ProbeArguments {
  public:
    ProbeArguments(kzfi_pdk_4_4::CFiPluginBase& newProvider, const ProbeRequest& newRequest)
        : provider(newProvider),
          request(newRequest) {}
    ProbeArguments(const ProbeArguments&) = delete;
    ProbeArguments& operator=(const ProbeArguments&) = delete;

    /// A copy of size bytes, which the call must leave alone (an input) or may write to.
    void* piece(const std::string& name, const void* bytes, std::size_t size, bool isOutput);
    template <class T>
    T* input(const std::string& name, const T& value) {
        return static_cast<T*>(piece(name, &value, sizeof value, false));
    }
    /// An output that is null or 0, or a mark.
    template <class T>
    T* output(const std::string& name) {
        const T mark = markOf(static_cast<T*>(nullptr));
        return static_cast<T*>(piece(name, &mark, sizeof mark, true));
    }
    /// A text that the provider may write to, though it should not.
    char* text(const std::string& name);

    /// Done when the call has come back; succeeded: with a status that is no error.
    void afterwards(std::function<void(bool succeeded)> work) { later.push_back(std::move(work)); }

    ProbeAnswer judge(std::optional<int> status);

    kzfi_pdk_4_4::CFiPluginBase& provider;
    const ProbeRequest& request;

  private:
    struct Piece {
        std::string name;
        std::vector<char> before;
        std::vector<char> now;
        bool isOutput;
    };

    template <class T>
    T* markOf(T** pointer) const;
    template <class T>
    T markOf(T* number) const;

    std::deque<Piece> pieces;
    std::vector<std::function<void(bool)>> later;
};

/// Readable memory that no list and no text of a provider's lies in.
void* probeMark();
inline constexpr int PROBE_MARK = 0x5EED;

template <class T>
T* ProbeArguments::markOf(T**) const {
    return request.marked ? static_cast<T*>(probeMark()) : nullptr;
}

template <class T>
T ProbeArguments::markOf(T*) const {
    return request.marked ? static_cast<T>(PROBE_MARK) : T();
}

/// Makes one argument.
template <class T>
struct ProbeMaker {
    const char* name; ///< null for one that is never null on purpose
    std::function<T(ProbeArguments&)> make;
};

template <class T>
T takeArgument(const ProbeMaker<T>& maker, ProbeArguments& arguments, int& place) {
    if constexpr (std::is_pointer_v<T>) {
        if (maker.name != nullptr && place++ == arguments.request.null) {
            return nullptr;
        }
    }
    return maker.make(arguments);
}

template <class T>
struct AsItIs {
    using Type = T;
};

/// A probe of an operation whose arguments the makers make.
template <class Result, class... Each>
Probe probe(const char* name, Result (kzfi_pdk_4_4::CFiPluginBase::*operation)(Each...),
            typename AsItIs<ProbeMaker<Each>>::Type... makers) {
    Probe made;
    made.operation = name;
    const auto note = [&](const auto& maker) {
        if (maker.name != nullptr) {
            made.pointers.emplace_back(maker.name);
        }
    };
    static_cast<void>(note);
    (note(makers), ...);
    made.call = [=](kzfi_pdk_4_4::CFiPluginBase& provider, const ProbeRequest& request) {
        ProbeArguments arguments(provider, request);
        int place = 0;
        static_cast<void>(place);
        // Braces, so that the arguments are made in their order.
        std::tuple<Each...> values{takeArgument<Each>(makers, arguments, place)...};
        const auto calling = [&](auto&&... each) -> Result {
            return (provider.*operation)(std::forward<decltype(each)>(each)...);
        };
        if constexpr (std::is_void_v<Result>) {
            std::apply(calling, std::move(values));
            return arguments.judge(std::nullopt);
        } else {
            return arguments.judge(std::apply(calling, std::move(values)));
        }
    };
    return made;
}

} // namespace kzfi_simhost

#endif
