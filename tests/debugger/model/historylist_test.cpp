#include "common/debugger/model/historylist.h"

#include "tests/network/message/messages.h"

#include "common/memory/memoryexception.h"

#include <memory>

using namespace Tarq::Common;
using namespace Tarq::Common::Debugger;
using namespace Tarq::Test;

namespace {

using EntryPtr = std::unique_ptr<HistoryEntry>;

/// A host with two variables, and their history.
struct Fixture : LibraryTest {
    Fixture() {
        mNumberType->setID(1);
        mTextType->setID(2);
    }

    std::unique_ptr<VariableType> makeType(StreamIDs type) const {
        return std::unique_ptr<VariableType>(
            VariableType::createVariableType(allocator(), type, "variable", true, nullptr, 0));
    }
    VariableInstance number() { return {&mNumber, mNumberType.get()}; }
    VariableInstance text() { return {&mText, mTextType.get()}; }

    /// What is left of the last pass when there is one to spare.
    EntryPtr take(HistoryList& list, uint32 instanceID) const {
        EntryPtr entry(list.takeOldest(instanceID));
        return entry ? std::move(entry) : EntryPtr(new (allocator()) HistoryEntry);
    }
    /// Records the number as stored and both as watched.
    void record(HistoryEntry& entry, uint32 time, uint32 instanceID) {
        entry.begin(time, time + 1, 8, instanceID);
        entry.addStored(number());
        const VariableInstance watched[] = {text(), number()};
        const VariableInstance* const places[] = {&watched[0], &watched[1]};
        CHECK(entry.setWatches(places));
    }
    void pass(HistoryList& list, uint32 time, uint32 instanceID) {
        EntryPtr entry = take(list, instanceID);
        record(*entry, time, instanceID);
        CHECK(list.addEntry(instanceID, entry.get()));
        static_cast<void>(entry.release());
    }

    std::unique_ptr<VariableType> mNumberType = makeType(STREAM_TYPE_UINT16);
    std::unique_ptr<VariableType> mTextType = makeType(STREAM_TYPE_BSTRING);
    uint16 mNumber = 0x1234;
    String mText = "ab";
};

std::string encodingOf(const HistoryEntry& entry) {
    return hexOf(messageOf([&](MessageBuilder& builder) { entry.write(builder); }));
}
/// Of what `Fixture::pass` has recorded: "12 13 14".
std::string timesOf(const HistoryList& list, uint32 instanceID) {
    std::string times;
    const HistoryEntries* entries = nullptr;
    if (!list.getEntries(instanceID, entries))
        return "none";
    for (const HistoryEntry* const entry : *entries)
        times += (times.empty() ? "" : " ") + std::to_string(entry->getGameTime());
    HistoryEntry* latest = nullptr;
    CHECK(list.getLatestEntry(instanceID, latest));
    CHECK(latest == entries->getLatest());
    CHECK(latest->getObjectInstanceID() == instanceID);
    return times;
}

const std::string cEncoding = "07 00 00 00 05 07 00 00 00 06 07 00 00 00 08 07 00 00 00 03 "
                              "07 00 00 00 01 07 00 00 00 02 07 00 00 00 01 "
                              "85 00 00 00 03 06 12 34 85 00 00 00 07 0b 00 00 00 02 61 62 85 00 00 00 03 06 12 34";

} // namespace

TEST_CASE_FIXTURE(Fixture, "an entry is written as its ids, the stored ones first, and then its values") {
    HistoryEntry entry;
    record(entry, 5, 9);
    CHECK(encodingOf(entry) == cEncoding);
    // As often as somebody asks, and whatever has become of the variables.
    mNumber = 0;
    mText = "longer than before";
    CHECK(encodingOf(entry) == cEncoding);
    // What is added afterwards stands behind what has been written meanwhile.
    entry.addStored(number());
    CHECK(entry.getStored().getVariables().size() == 2);
    entry.begin(1, 2, 3, 4);
    CHECK(encodingOf(entry) == "07 00 00 00 01 07 00 00 00 02 07 00 00 00 03 07 00 00 00 00");
}

TEST_CASE_FIXTURE(Fixture, "watches are set once for each recording") {
    HistoryEntry entry;
    for (int recording = 0; recording < 2; ++recording) {
        record(entry, 5, 9);
        const ExpectedAssertion expected("\nError Message: Tried to set watches within HistoryEntry for second time",
                                         "common/debugger/model/historyentry");
        CHECK_FALSE(entry.setWatches({}));
    }
}

TEST_CASE_FIXTURE(Fixture, "an entry that is begun anew has nothing of the recording before, and not its big values") {
    HistoryEntry* const entry = new (allocator()) HistoryEntry;
    const EntryPtr holder(entry);
    record(*entry, 5, 9);
    allocator()->freeUnusedMemory();
    const int64 before = getMemory().getBytes();
    for (const uint32 length : {60u, 4000u, 3000000u}) {
        CAPTURE(length);
        mText = String(length, 'x');
        record(*entry, 5, 9);
        CHECK(encodingOf(*entry).size() > 3 * length);
        mText = String("ab");
        record(*entry, 5, 9);
        CHECK(encodingOf(*entry) == cEncoding);
    }
    allocator()->freeUnusedMemory();
    CHECK(getMemory().getBytes() < before + 40000);
}

TEST_CASE_FIXTURE(Fixture, "a history keeps the last passes of each object instance") {
    for (const uint32 length : {0u, 1u, 3u}) {
        CAPTURE(length);
        HistoryList list(allocator(), length);
        CHECK(list.getMaximumLength() == std::max(length, 1u));
        CHECK(list.isEmpty());
        CHECK(timesOf(list, 0) == "none");
        for (uint32 time = 10; time < 17; ++time) {
            pass(list, time, 2);
            if (time < 12)
                pass(list, time, 70);
        }
        CHECK(timesOf(list, 2) == (length == 3 ? "14 15 16" : "16"));
        CHECK(timesOf(list, 70) == (length == 3 ? "10 11" : "11"));
        CHECK(timesOf(list, 1) == "none");
        CHECK(timesOf(list, 0xFFFFFFFF) == "none");
        // Without an entry to spare it deletes the oldest one itself.
        EntryPtr entry(new (allocator()) HistoryEntry);
        record(*entry, 99, 2);
        CHECK(list.addEntry(2, entry.release()));
        CHECK(timesOf(list, 2) == (length == 3 ? "15 16 99" : "99"));
        list.removeEntries(2);
        list.removeEntries(1000);
        CHECK(timesOf(list, 2) == "none");
        CHECK_FALSE(list.isEmpty());
        pass(list, 20, 2);
        CHECK(timesOf(list, 2) == "20");
        list.removeEntries(2);
        list.removeEntries(70);
        CHECK(list.isEmpty());
        pass(list, 30, 3);
    }
}

TEST_CASE_FIXTURE(Fixture, "an entry of no object instance stays the caller's") {
    HistoryList list(allocator(), 3);
    pass(list, 1, 0);
    HistoryEntry entry;
    const ExpectedAssertion expected("objectInstanceID != INVALID_OBJECT_INSTANCE_ID\nError Message: Tried to add a "
                                     "HistoryEntry of no ObjectInstance",
                                     "common/debugger/model/historylist");
    CHECK_FALSE(list.addEntry(INVALID_OBJECT_INSTANCE_ID, &entry));
    CHECK(timesOf(list, 0) == "1");
}

TEST_CASE_FIXTURE(Fixture, "passes in a steady state take no memory, and give none back") {
    HistoryList list(allocator(), 3);
    for (uint32 time = 0; time < 3; ++time)
        pass(list, time, 0);
    getMemory().failAfter(0);
    for (uint32 time = 3; time < 100; ++time)
        pass(list, time, 0);
    getMemory().failNever();
    CHECK(timesOf(list, 0) == "97 98 99");
}

TEST_CASE_FIXTURE(Fixture, "a recording that finds no memory leaves the history as it was, and can be repeated") {
    mText = String(20000, 'x');
    HistoryList list(allocator(), 2);
    pass(list, 1, 0);
    int failures = 0;
    for (bool isDone = false; !isDone; ++failures) {
        REQUIRE(failures < 1000);
        // Of another instance, beyond the table: both have to grow.
        EntryPtr entry(new (allocator()) HistoryEntry);
        const AssertionRecorder exhausted;
        getMemory().failAfter(failures);
        try {
            record(*entry, 2, 5000);
            CHECK(list.addEntry(5000, entry.get()));
            static_cast<void>(entry.release());
            isDone = true;
        } catch (Memory::OutOfMemoryException* exception) {
            delete exception;
        }
        getMemory().failNever();
        CHECK(timesOf(list, 0) == "1");
        if (isDone)
            break;
        CHECK(timesOf(list, 5000) == "none");
        // What was recorded before the failure stands; more may be added to it.
        mText = "ab";
        entry->addStored(text());
        CHECK(encodingOf(*entry).find("85 00 00 00 07 0b 00 00 00 02 61 62") != std::string::npos);
        mText = String(20000, 'x');
    }
    CHECK(failures > 0);
    CHECK(timesOf(list, 5000) == "2");
}
