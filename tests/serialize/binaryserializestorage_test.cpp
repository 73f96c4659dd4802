#include "tests/serialize/storeditems.h"

#include "common/io/bufferedstream.h"
#include "common/memory/memorystream.h"

#include <set>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "what cannot be opened is refused with a text and lets go of the stream") {
    const std::string corrupted = "SerializeException: The stream is corrupted. ";
    const std::string shortly = corrupted + "It ends inside of the data that is read";
    const std::pair<const char*, std::string> cases[] = {
        {"13", "Wrong stream, this is no BinarySerializeStorage stream ! "},
        {"12 01 02000000", "The input stream has a wrong version for this serialize storage. We found version '2' but "
                           "expected version '3' "},
        {"12 01 03000000 0000000000000000",
         "SerializeException: Stream is corrupted, no lookup table stored in the stream"},
        {"12 01 03000000 0f00000000000080", corrupted + "The lookup tables lie behind its end"},
        {"12 01 03000000 1400000000000000 03000000 00", corrupted + "The lookup tables lie behind its end"},
        {"12 01 03000000 1200000000000000 03000000 ffffffff 00000000", shortly},
        {"", shortly},
    };
    for (const auto& [bytes, refusal] : cases) {
        const RecordingListener log;
        RecordingStream stream(bytesOf(bytes));
        BinarySerializeStorage storage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE);
        bool isOpen = false;
        const std::string thrown = outcomeOf([&] { isOpen = storage.open(&stream); });
        CHECK(thrown + log.messages() == refusal);
        CHECK(!isOpen);
        CHECK(outcomeOf([&] { storage.peekItemType(); }) ==
              "InvalidStateException: BinarySerializeStorage: The storage is not open.");
        for (const auto& heard : log.mHeard) {
            CHECK(heard.type == Debug::LOG_ERROR);
            CHECK(heard.function + " " + heard.file ==
                  "Tarq::Common::Serialize::BinarySerializeStorage::open common/serialize/binaryserializestorage");
        }
    }
    struct : RecordingStream {
        bool canSeek() const override { return false; }
    } unable;
    const RecordingListener log;
    for (int round = 0; round < 2; ++round) {
        CHECK(!BinarySerializeStorage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE).open(&unable));
        CHECK(!BinarySerializeStorage(Storage::SMODE_INPUT, Endian::ENDIAN_LITTLE).open(&unable));
        unable.close();
    }
    CHECK(log.messages() == "IO stream has to be seekable for an output serialize stream "
                            "IO stream has to be seekable for an input serialize stream "
                            "IO stream has to be writable for an output serialize stream "
                            "IO stream has to be readable for an input serialize stream ");
}

TEST_CASE_FIXTURE(LibraryTest, "a file that was cut or changed ends in a documented failure, whatever is changed") {
    const std::string file = fileOf(writeObject);
    Input whole(file);
    std::set<std::size_t> typePlaces;
    readAll(whole.storage, [&] { typePlaces.insert(static_cast<std::size_t>(whole.getPosition())); });
    for (std::size_t length = 0; length < file.size(); ++length)
        CHECK(outcomeOf([&] { Input in(file.substr(0, length)); }).starts_with("SerializeException: The stream is"));
    // A type is replaced by everything, other bytes by a few values; then all is skipped, or all is read.
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (std::size_t change = 0; change < 512; change += typePlaces.contains(at) ? 1 : 37) {
            std::string changed = file;
            changed[at] = static_cast<char>(change / 2);
            const std::string outcome = outcomeOf([&] {
                Input in(changed);
                if (!in.isOpen)
                    return;
                for (int left = change % 2 != 0 ? cObjectItems : 0; left != 0; --left)
                    skipNext(in.storage);
                if (change % 2 == 0)
                    readAll(in.storage);
            });
            if (typePlaces.contains(at) && change % 2 == 0 && !Storage::getItemTypeName(uint8(change / 2)))
                CHECK(!outcome.empty());
            if (!outcome.empty() && !outcome.starts_with("SerializeException: ") &&
                !outcome.starts_with("TypeMismatchException: ") && outcome.find("StreamIDs is not") == outcome.npos)
                FAIL("changing byte ", at, " ends in ", outcome);
        }
    }
}

TEST_CASE_FIXTURE(LibraryTest, "names are stored once in the order of first use, and stay where they were handed out") {
    std::mt19937 random(5);
    Texts written, distinct;
    const std::string file = fileOf([&](Storage& storage) {
        for (int left = 5000; left != 0; --left) {
            written.push_back("name" + std::to_string(left % 3 == 0 ? random() % 2000 : left % 7));
            storage.writeBool(written.back().c_str(), true);
            if (std::find(distinct.begin(), distinct.end(), written.back()) == distinct.end())
                distinct.push_back(written.back());
        }
    });
    std::string table = {static_cast<char>(distinct.size()), static_cast<char>(distinct.size() >> 8), 0, 0};
    for (const std::string& name : distinct)
        table += std::string{static_cast<char>(name.size()), '\0'} + name;
    CHECK(file.substr(18 + 6 * written.size()) == table + std::string(4, '\0'));
    Input in(file);
    std::vector<const char*> names(written.size());
    bool value;
    for (const char*& name : names)
        in.storage.readBool(name, value);
    RecordingStream other(fileOf(writeObject));
    CHECK(in.storage.open(&other));
    for (const char* skipped : {"14", "a7"})
        CHECK(skipNext(in.storage) == skipped);
    CHECK(std::equal(names.begin(), names.end(), written.begin()));
}

TEST_CASE_FIXTURE(LibraryTest, "a storage that is opened anew begins with a file of its own") {
    const auto writeLast = [](Storage& storage) { storage.writeBool("b", true); };
    RecordingStream first, second;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
    storage.open(&first);
    writeObject(storage);
    storage.open(&second);
    writeLast(storage);
    storage.close();
    CHECK(first.getBytes() == fileOf(writeObject));
    CHECK(second.getBytes() == fileOf(writeLast));
    // Whatever is not output reads.
    BinarySerializeStorage other(static_cast<Storage::SerializeMode>(2), Endian::ENDIAN_BIG);
    first.seek(0, IO::Stream::SORIGIN_BEGIN);
    REQUIRE(other.open(&first));
    CHECK(skipNext(other) == "14");
    other.close();
    CHECK(first.getBytes() == fileOf(writeObject));
}

TEST_CASE_FIXTURE(LibraryTest, "a storage leaves its stream at the end, also where a buffer holds it back") {
    for (const uint32 bufferSize : {1u, 10u, 4096u}) {
        Memory::MemoryStream memory("memory", 100);
        IO::BufferedStream buffered(&memory, bufferSize);
        BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
        storage.open(&buffered);
        writeObject(storage);
        storage.close();
        buffered.write("END", 3);
        buffered.seek(0, IO::Stream::SORIGIN_BEGIN);
        CHECK(readText(buffered, 1000) == fileOf(writeObject) + "END");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a storage that is not open refuses everything") {
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
    const char* name = nullptr;
    uint32 number = 0;
    std::vector<std::function<void()>> operations = {
        [&] { storage.getPosition(); },
        [&] { storage.setPosition(nullptr); },
        [&] { storage.peekItemType(); },
        [&] { storage.skipItem(name, number); },
        [&] { storage.readClassEnter(name, name, name, number); },
        [&] { storage.readClassExit(); },
        [&] { storage.writeClassEnter(name, name, name, number); },
        [&] { storage.writeClassExit(); },
        [&] { storage.writeBString(name, String(65536, 'x')); },
        [&] { storage.writeWString(name, WString(65536, L'x')); },
    };
    for (const Item& item : items()) {
        operations.push_back([&] { item.write(storage); });
        operations.push_back([&] { item.read(storage, name); });
    }
    for (std::size_t at = 0; at < operations.size(); ++at) {
        CAPTURE(at);
        CHECK(outcomeOf(operations[at]) == "InvalidStateException: BinarySerializeStorage: The storage is not open.");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a storage goes back to what it wrote, and overwrites what it read") {
    RecordingStream stream;
    BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
    storage.open(&stream);
    const auto place = storage.getPosition();
    storage.writeInt32("value", 5);
    storage.setPosition(place);
    const char* name;
    int32 value = 0;
    storage.readInt32(name, value);
    CHECK(value == 5);
    stream.takeCalls();
    storage.close();
    CHECK(stream.takeCalls() == Texts{"write 4", "write 2", "write 5", "write 4", "seek 6 3", "write 8", "seek 0 2"});

    Input in(stream.getBytes());
    in.storage.writeInt32("value", 6);
    CHECK(outcomeOf([&] { in.storage.writeInt32("other", 6); }) ==
          "SerializeException: The stream is open for input and does not know the name 'other'");
    in.seek(18, IO::Stream::SORIGIN_BEGIN);
    in.storage.readInt32(name, value);
    CHECK((value == 6 && in.getBytes().size() == stream.getBytes().size()));
    CHECK(outcomeOf([&] { in.storage.setPosition(nullptr); }).starts_with("ArgumentNullException: "));
    struct Foreign : Storage::Position {
        bool equals(const Storage::PositionPtr&) const override { return true; }
        uint64 mStreamPosition = 18;
    };
    const Storage::PositionPtr foreign(new (allocator()) Foreign);
    CHECK(!place->equals(foreign));
    CHECK(outcomeOf([&] { in.storage.setPosition(foreign); }).starts_with("ArgumentException: "));
    in.takeCalls();
    in.storage.close();
    CHECK(in.takeCalls().empty());
    CHECK(outcomeOf([&] { in.storage.open(nullptr); }).starts_with("ArgumentNullException: "));
}

TEST_CASE_FIXTURE(LibraryTest, "what the stream throws passes on, and is logged by a destructor") {
    // The object has 20 writes, behind that of the header; closing has the rest.
    for (int call = 1; call < 43; ++call) {
        const RecordingListener log;
        {
            RecordingStream stream;
            BinarySerializeStorage storage(Storage::SMODE_OUTPUT, Endian::ENDIAN_LITTLE);
            stream.failAt(call);
            CHECK(outcomeOf([&] {
                      storage.open(&stream);
                      writeObject(storage);
                      storage.close();
                  }) == "IOException: test failure");
        }
        CHECK(log.messages() == (call == 1 || call > 21 ? "" : "Closing a storage has failed: test failure "));
    }
}
