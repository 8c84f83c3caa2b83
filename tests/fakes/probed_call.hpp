// What a test module does with every call: asks the probe, hands the call on, and reports it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

namespace module_probe {

// What the plans say about one call.
struct verdict {
    std::optional<int64_t> result;    // given in place of the call
    uint32_t most_bytes = UINT32_MAX; // that it may move
};

verdict judge(const std::string& operation);
void record(const std::string& call);

inline std::string shown(const char* text) {
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}
inline std::string shown(const void* handle) {
    return handle == nullptr ? "null" : "handle";
}
inline std::string shown(int64_t number) {
    return std::to_string(number);
}

// Arguments as the log writes them.
template <typename... Arguments>
std::string listed(Arguments... arguments) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + shown(arguments)), ...);
    return text;
}

template <typename Result>
Result forced(int64_t result) {
    if constexpr (std::is_pointer_v<Result>)
        return nullptr;
    else
        return static_cast<Result>(result);
}

// One call of prefix + operation. `perform` calls the real module; it is given the number of bytes that it may move.
template <typename Perform>
auto observed(const std::string& prefix, const std::string& operation, const std::string& arguments,
              Perform perform) {
    using result_type = decltype(perform(0u));
    const std::string call = prefix + operation + "(" + arguments + ")";
    const verdict plan = judge(operation);
    if constexpr (std::is_void_v<result_type>) {
        if (!plan.result)
            perform(plan.most_bytes);
        record(call);
    } else {
        const auto result = plan.result ? forced<result_type>(*plan.result) : perform(plan.most_bytes);
        record(call + " = " + shown(result));
        return result;
    }
}

} // namespace module_probe
