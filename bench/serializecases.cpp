#include "bench/cases.h"
#include "common/memory/memorystream.h"
#include "common/serialize/binaryserializestorage.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <msgpack.hpp>

#include <cstring>
#include <sstream>

namespace Tarq::Bench {

namespace {

using Common::Serialize::BinarySerializeStorage;

constexpr uint32 cRecords = 10000;
constexpr uint32 cFields = 10;

/// What a game stores of one of its objects.
template <class Text>
struct Record {
    bool active = false;
    Common::uint8 kind = 0;
    Common::int16 layer = 0;
    Common::int32 health = 0;
    uint32 owner = 0;
    uint64 id = 0;
    float speed = 0;
    float heading = 0;
    double time = 0;
    Text label;

    MSGPACK_DEFINE_MAP(active, kind, layer, health, owner, id, speed, heading, time, label)
    bool operator==(const Record&) const = default;
};

template <class AnyRecord, class Visit>
void visitFields(AnyRecord& record, Visit visit) {
    visit("active", record.active);
    visit("kind", record.kind);
    visit("layer", record.layer);
    visit("health", record.health);
    visit("owner", record.owner);
    visit("id", record.id);
    visit("speed", record.speed);
    visit("heading", record.heading);
    visit("time", record.time);
    visit("label", record.label);
}

template <class Text>
using Records = std::vector<Record<Text>>;

template <class Text>
Records<Text> makeRecords() {
    Records<Text> records(cRecords);
    for (uint32 number = 0; Record<Text> & record : records) {
        record = {number % 3 == 0,
                  static_cast<Common::uint8>(number),
                  static_cast<Common::int16>(-static_cast<int>(number)),
                  static_cast<Common::int32>(number * 2654435761u),
                  number,
                  number * uint64{0x9E3779B97F4A7C15},
                  static_cast<float>(number) / 7,
                  static_cast<float>(number) / -3,
                  number / 11.0,
                  Text(("object number " + std::to_string(number)).c_str())};
        ++number;
    }
    return records;
}

/// Used as those who store values do it, as nothing but a storage.
class Ours {
public:
    using Text = Common::String;

    void write(const Records<Text>& records) {
        BinarySerializeStorage storage(BinarySerializeStorage::SMODE_OUTPUT, Common::Platform::Endian::ENDIAN_LITTLE);
        check(storage.open(&mStream), "the storage cannot be opened");
        Common::Serialize::SerializeStorage* const to = hidden(&storage);
        for (const Record<Text>& record : records)
            visitFields(record, [to](const char* name, const auto& value) { put(*to, name, value); });
        storage.close();
    }

    /// `Check` is called with the name that is expected, and the name that came.
    template <class Check>
    void read(Records<Text>& records, Check checkName) {
        mStream.seek(0, Common::IO::Stream::SORIGIN_BEGIN);
        BinarySerializeStorage storage(BinarySerializeStorage::SMODE_INPUT, Common::Platform::Endian::ENDIAN_LITTLE);
        check(storage.open(&mStream), "the storage cannot be opened");
        Common::Serialize::SerializeStorage* const from = hidden(&storage);
        for (Record<Text>& record : records) {
            visitFields(record, [from, checkName](const char* expected, auto& value) {
                const char* name;
                get(*from, name, value);
                checkName(expected, name);
            });
        }
    }

private:
    using Storage = Common::Serialize::SerializeStorage;

    static Storage* hidden(Storage* storage) {
        benchmark::DoNotOptimize(storage);
        return storage;
    }

    static void put(Storage& to, const char* name, bool value) { to.writeBool(name, value); }
    static void put(Storage& to, const char* name, Common::uint8 value) { to.writeUInt08(name, value); }
    static void put(Storage& to, const char* name, Common::int16 value) { to.writeInt16(name, value); }
    static void put(Storage& to, const char* name, Common::int32 value) { to.writeInt32(name, value); }
    static void put(Storage& to, const char* name, uint32 value) { to.writeUInt32(name, value); }
    static void put(Storage& to, const char* name, uint64 value) { to.writeUInt64(name, value); }
    static void put(Storage& to, const char* name, float value) { to.writeFloat32(name, value); }
    static void put(Storage& to, const char* name, double value) { to.writeFloat64(name, value); }
    static void put(Storage& to, const char* name, const Text& value) { to.writeBString(name, value); }

    static void get(Storage& from, const char*& name, bool& value) { from.readBool(name, value); }
    static void get(Storage& from, const char*& name, Common::uint8& value) { from.readUInt08(name, value); }
    static void get(Storage& from, const char*& name, Common::int16& value) { from.readInt16(name, value); }
    static void get(Storage& from, const char*& name, Common::int32& value) { from.readInt32(name, value); }
    static void get(Storage& from, const char*& name, uint32& value) { from.readUInt32(name, value); }
    static void get(Storage& from, const char*& name, uint64& value) { from.readUInt64(name, value); }
    static void get(Storage& from, const char*& name, float& value) { from.readFloat32(name, value); }
    static void get(Storage& from, const char*& name, double& value) { from.readFloat64(name, value); }
    static void get(Storage& from, const char*& name, Text& value) { from.readBString(name, value); }

    Common::Memory::MemoryStream mStream{"stream", 65535};
};

void writeAndReadByOurs(benchmark::State& state) {
    const auto records = makeRecords<Ours::Text>();
    Records<Ours::Text> copies(cRecords);
    for (auto _ : state) {
        Ours ours;
        ours.write(records);
        ours.read(copies, [](const char* expected, const char* name) {
            check(std::strcmp(expected, name) == 0, "a name is wrong");
        });
    }
    countOperations(state, uint64{cRecords} * cFields);
    check(copies == records, "a value is wrong");
}

/// Texts stay in the buffer until they are asked for.
bool leaveWhereTheyAre(msgpack::type::object_type, std::size_t, void*) {
    return true;
}

/// As msgpack stores classes by the names of their members.
void writeAndReadByMsgpack(benchmark::State& state) {
    const auto records = makeRecords<std::string>();
    Records<std::string> copies(cRecords);
    for (auto _ : state) {
        msgpack::sbuffer buffer;
        msgpack::pack(buffer, records);
        msgpack::unpack(buffer.data(), buffer.size(), leaveWhereTheyAre)->convert(copies);
    }
    countOperations(state, uint64{cRecords} * cFields);
    check(copies == records, "a value is wrong");
}

/// As fast as it can be done by hand: one map with all items, whose order is known.
void writeAndReadByHand(benchmark::State& state) {
    const auto records = makeRecords<std::string>();
    Records<std::string> copies(cRecords);
    for (auto _ : state) {
        msgpack::sbuffer buffer;
        msgpack::packer<msgpack::sbuffer> packer(buffer);
        packer.pack_map(cRecords * cFields);
        for (const auto& record : records) {
            visitFields(record, [&packer](std::string_view name, const auto& value) {
                packer.pack(name);
                packer.pack(value);
            });
        }
        const msgpack::object_handle all = msgpack::unpack(buffer.data(), buffer.size(), leaveWhereTheyAre);
        const msgpack::object_kv* item = all->via.map.ptr;
        for (auto& record : copies) {
            visitFields(record, [&item](std::string_view expected, auto& value) {
                const msgpack::object_str& name = item->key.via.str;
                check(std::string_view(name.ptr, name.size) == expected, "a name is wrong");
                item->val.convert(value);
                ++item;
            });
        }
    }
    countOperations(state, uint64{cRecords} * cFields);
    check(copies == records, "a value is wrong");
}

void readByOurs(benchmark::State& state) {
    const auto records = makeRecords<Ours::Text>();
    Records<Ours::Text> copies(cRecords);
    Ours ours;
    ours.write(records);
    for (auto _ : state)
        ours.read(copies, [](const char*, const char* name) { benchmark::DoNotOptimize(name); });
    countOperations(state, uint64{cRecords} * cFields);
    check(copies == records, "a value is wrong");
}

/// Bytes where they are: the fastest that the peer can be given.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(std::string& bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }
};

void readByBoost(benchmark::State& state) {
    const auto records = makeRecords<std::string>();
    Records<std::string> copies(cRecords);
    std::stringbuf written;
    {
        boost::archive::binary_oarchive archive(written);
        for (const auto& record : records)
            visitFields(record, [&archive](const char*, const auto& value) { archive << value; });
    }
    std::string bytes = written.str();
    for (auto _ : state) {
        MemoryBuffer buffer(bytes);
        boost::archive::binary_iarchive archive(buffer);
        for (auto& record : copies)
            visitFields(record, [&archive](const char*, auto& value) { archive >> value; });
    }
    countOperations(state, uint64{cRecords} * cFields);
    check(copies == records, "a value is wrong");
}

} // namespace

std::vector<Case> serializeCases() {
    return {
        {"serialize/write-and-read",
         writeAndReadByOurs,
         {{"msgpack", 0.4, writeAndReadByMsgpack}, {"msgpack by hand", 0, writeAndReadByHand}}},
        {"serialize/read", readByOurs, {{"boost binary archive", 0.7, readByBoost}}},
    };
}

} // namespace Tarq::Bench
