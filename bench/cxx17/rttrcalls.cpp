#include "bench/cxx17/rttrcalls.h"

#include <rttr/registration>

namespace Tarq::Bench {

struct RttrCalls::Method {
    rttr::method method;

    double call(int count, float factor, double offset) const {
        return method.invoke({}, count, factor, offset).get_value<double>();
    }
};

RttrCalls::RttrCalls(const std::vector<std::string>& names, Function function) {
    [[maybe_unused]] static const bool isRegistered = [&] {
        for (const std::string& name : names)
            rttr::registration::method(name, function);
        return true;
    }();
    mFirst = std::make_unique<Method>(Method{rttr::type::get_global_method(names.front())});
}

RttrCalls::~RttrCalls() = default;

double RttrCalls::callById(int count, float factor, double offset) const {
    return mFirst->call(count, factor, offset);
}

double RttrCalls::callByName(const std::string& name, int count, float factor, double offset) const {
    return Method{rttr::type::get_global_method(name)}.call(count, factor, offset);
}

} // namespace Tarq::Bench
