#include "bench/cases.h"
#include "bench/message.pb.h"
#include "common/library.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"

#include <msgpack.hpp>

#include <array>
#include <string>
#include <vector>

namespace Tarq::Bench {

namespace {

using Common::Memory::MemoryStream;
using Common::Network::Message::MessageBuilder;
using Common::Network::Message::MessageReader;

/// Messages are built in streams that are made for them.
constexpr uint32 cBlockSize = 65535;
constexpr uint32 cSamples = 1000;

/// What all of them are called.
const Common::String& streamName() {
    static const Common::String name("stream", Common::Memory::AllocatorPtr());
    return name;
}

/// What a host tells of one of its objects, with a value of every kind; 126 bytes in a message of ours.
template <class Text, class Position, class Numbers>
struct Report {
    uint32 type = 0x01000011;
    uint32 module = 3;
    uint32 object = 70000;
    uint32 variable = 12;
    bool active = true;
    Common::uint8 code = 0;
    float speed = 3.5F;
    double time = 1234.0625;
    Position position = {1.5F, -2.25F, 1000};
    Text name = "agents/patrol/leader";
    Text text = "position after the last step";
    Numbers neighbours;

    bool operator==(const Report&) const = default;
    MSGPACK_DEFINE(type, module, object, variable, active, code, speed, time, position, name, text, neighbours)
};
using TheirReport = Report<std::string, std::array<float, 3>, std::vector<uint32>>;

template <class AnyReport, class Visit>
bool visitFields(AnyReport& report, Visit visit) {
    return visit(report.type) && visit(report.module) && visit(report.object) && visit(report.variable) &&
           visit(report.active) && visit(report.code) && visit(report.speed) && visit(report.time) &&
           visit(report.position) && visit(report.name) && visit(report.text) && visit(report.neighbours);
}

/// A round counts where what was read is what was written; the object changes from one to the next.
template <class AnyReport, class Send>
void sendReports(benchmark::State& state, AnyReport report, Send send) {
    for (const uint32 neighbour : {70001u, 70005u, 81234u})
        report.neighbours.push_back(neighbour);
    AnyReport copy = report;
    for (auto _ : state) {
        ++report.object;
        send(report, copy);
        check(copy.object == report.object, "a message is another one");
    }
    check(copy == report, "a value is wrong");
}

void sendReportByOurs(benchmark::State& state) {
    using Numbers = Common::Container::Vector<uint32>;
    using OurReport = Report<Common::String, Common::Math::Vec3f, Numbers>;
    sendReports(state, OurReport{.neighbours = Numbers(Common::Library::getTempAlloc())},
                [](const OurReport& report, OurReport& copy) {
                    MemoryStream stream(streamName(), cBlockSize);
                    MessageBuilder builder(&stream, true);
                    visitFields(report, [&builder](const auto& value) {
                        builder.write(value);
                        return true;
                    });
                    MessageReader reader(&stream, true);
                    check(visitFields(copy, [&reader](auto& value) { return reader.read(value); }),
                          "a message cannot be read");
                });
}

void sendReportByMsgpack(benchmark::State& state) {
    sendReports(state, TheirReport(), [](const TheirReport& report, TheirReport& copy) {
        msgpack::sbuffer buffer;
        msgpack::pack(buffer, report);
        msgpack::unpack(buffer.data(), buffer.size())->convert(copy);
    });
}

void sendReportByProtobuf(benchmark::State& state) {
    sendReports(state, TheirReport(), [](const TheirReport& report, TheirReport& copy) {
        Proto::Report out;
        out.set_type(report.type);
        out.set_module(report.module);
        out.set_object(report.object);
        out.set_variable(report.variable);
        out.set_active(report.active);
        out.set_code(report.code);
        out.set_speed(report.speed);
        out.set_time(report.time);
        out.set_x(report.position[0]);
        out.set_y(report.position[1]);
        out.set_z(report.position[2]);
        out.set_name(report.name);
        out.set_text(report.text);
        out.mutable_neighbours()->Add(report.neighbours.begin(), report.neighbours.end());
        const std::string bytes = out.SerializeAsString();
        Proto::Report in;
        check(in.ParseFromString(bytes), "a message cannot be read");
        copy.type = in.type();
        copy.module = in.module();
        copy.object = in.object();
        copy.variable = in.variable();
        copy.active = in.active();
        copy.code = static_cast<Common::uint8>(in.code());
        copy.speed = in.speed();
        copy.time = in.time();
        copy.position = {in.x(), in.y(), in.z()};
        copy.name = in.name();
        copy.text = in.text();
        copy.neighbours.assign(in.neighbours().begin(), in.neighbours().end());
    });
}

/// The same for many numbers of one kind.
template <class Samples, class Send>
void sendSamples(benchmark::State& state, Samples samples, Samples copy, Send send) {
    for (uint32 at = 0; at < cSamples; ++at)
        samples.push_back(static_cast<float>(at) / 7);
    for (auto _ : state) {
        samples[0] += 1;
        send(samples, copy);
        check(copy.size() == cSamples && copy[0] == samples[0], "a message is another one");
    }
    check(copy == samples, "a value is wrong");
}

void sendSamplesByOurs(benchmark::State& state) {
    using Samples = Common::Container::Vector<float>;
    const Samples none(Common::Library::getTempAlloc());
    sendSamples(state, none, none, [](const Samples& samples, Samples& copy) {
        MemoryStream stream(streamName(), cBlockSize);
        MessageBuilder(&stream, true).write(samples);
        check(MessageReader(&stream, true).read(copy), "a message cannot be read");
    });
}

void sendSamplesByMsgpack(benchmark::State& state) {
    using Samples = std::vector<float>;
    sendSamples(state, Samples(), Samples(), [](const Samples& samples, Samples& copy) {
        msgpack::sbuffer buffer;
        msgpack::pack(buffer, samples);
        msgpack::unpack(buffer.data(), buffer.size())->convert(copy);
    });
}

void sendSamplesByProtobuf(benchmark::State& state) {
    using Samples = std::vector<float>;
    sendSamples(state, Samples(), Samples(), [](const Samples& samples, Samples& copy) {
        Proto::Samples out;
        out.mutable_values()->Add(samples.begin(), samples.end());
        const std::string bytes = out.SerializeAsString();
        Proto::Samples in;
        check(in.ParseFromString(bytes), "a message cannot be read");
        copy.assign(in.values().begin(), in.values().end());
    });
}

} // namespace

std::vector<Case> messageCases() {
    return {
        {"message/mixed-fields",
         sendReportByOurs,
         {{"msgpack", 0.9, sendReportByMsgpack}, {"protobuf", 0.5, sendReportByProtobuf}}},
        {"message/1000-floats",
         sendSamplesByOurs,
         {{"msgpack", 0.15, sendSamplesByMsgpack}, {"protobuf", 1.1, sendSamplesByProtobuf}}},
    };
}

} // namespace Tarq::Bench
