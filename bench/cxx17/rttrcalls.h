#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Tarq::Bench {

/// RTTR's side of the calls, without its headers.
class RttrCalls {
public:
    using Function = double (*)(int count, float factor, double offset);

    /// RTTR's registry is the whole process's: `function` is registered under all the names, by the first object.
    RttrCalls(const std::vector<std::string>& names, Function function);
    ~RttrCalls();
    RttrCalls(const RttrCalls&) = delete;
    RttrCalls& operator=(const RttrCalls&) = delete;

    /// The function of the first name.
    double callById(int count, float factor, double offset) const;
    double callByName(const std::string& name, int count, float factor, double offset) const;

private:
    struct Method;
    std::unique_ptr<Method> mFirst;
};

} // namespace Tarq::Bench
