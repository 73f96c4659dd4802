#include "tool/cli/debugger.h"
#include "tool/client/clock.h"
#include "tool/client/quoting.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// Of a host that asks again and again for what is not there, so much is told.
constexpr unsigned int cMostBadRequests = 8;
/// A host that is gone, or held, is not waited for when all is over.
constexpr uint64 cLastMicroseconds = 1000000;

/// Among the events that were not waited for.
constexpr const char* cWithdrawn = "withdrawn";

/// What a person reads at ease.
constexpr double cTerminalSeconds = 0.1;
constexpr double cJsonSeconds = 1;
constexpr double cLogSeconds = 5;

std::string withOneDigit(double value) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

std::string textOfRate(const ServedFile& file) {
    const double rate = static_cast<double>(file.countSent()) / std::max(file.getSeconds(), 1e-6) / 1024;
    return rate < 1024 ? withOneDigit(rate) + " KiB/s" : withOneDigit(rate / 1024) + " MiB/s";
}

std::string textOfShare(const ServedFile& file) {
    const double share = static_cast<double>(file.countRead()) / std::max<uint32>(file.getLength(), 1);
    return std::to_string(file.countRead()) + " of " + std::to_string(file.getLength()) + " bytes (" +
           withOneDigit(100 * share) + "%)";
}

Json jsonOfFile(const ServedFile& file) {
    return {{"id", file.getID()}, {"name", file.getName()}, {"path", file.getPath()}, {"length", file.getLength()}};
}

Json jsonOfReading(const ServedFile& file) {
    Json json = jsonOfFile(file);
    json.update({{"read", file.countRead()}, {"sent", file.countSent()}, {"seconds", file.getSeconds()}});
    return json;
}

std::string textOfReading(const ServedFile& file, std::size_t numRanges) {
    if (file.countSent() == 0)
        return "nothing was read";
    std::string text = file.isRead() ? "all of " + std::to_string(file.getLength()) + " bytes were read"
                                     : textOfShare(file) + " were read";
    if (numRanges > 1)
        text += ", in " + std::to_string(numRanges) + " ranges";
    if (file.countSent() != file.countRead())
        text += ", " + std::to_string(file.countSent()) + " with those read again";
    // What is over at once has no rate that means anything.
    if (file.getSeconds() < 0.05)
        return text;
    return text + ", in " + withOneDigit(file.getSeconds()) + " s (" + textOfRate(file) + ')';
}

} // namespace

void Debugger::serve(ServedFile opened) {
    const uint32 id = opened.getID();
    if (mFiles.contains(id))
        throw CommandFailure(EXIT_USAGE, "stream " + std::to_string(id) + " is served already");
    // The host may ask for bytes as soon as it knows of the stream.
    const RegisterStream request{String(std::string_view(opened.getName())), id, opened.getLength()};
    mFiles.emplace(id, Served{std::move(opened)});
    try {
        ask(request);
    } catch (const CommandFailure&) {
        mFiles.erase(id);
        throw;
    }
    const auto served = mFiles.find(id);
    if (served == mFiles.end())
        throw CommandFailure(EXIT_INTERNAL, "it was withdrawn before the host has answered");
    const ServedFile& file = served->second.file;
    answer("serving", jsonOfFile(file),
           {"stream " + std::to_string(id) + ", " + quote(file.getName()) + ": " + printable(file.getPath()) + ", " +
            std::to_string(file.getLength()) + " bytes"});
}

uint32 Debugger::getFreeStreamID() const {
    uint32 id = 1;
    while (mFiles.contains(id))
        ++id;
    return id;
}

void Debugger::withdraw(uint32 id) {
    if (!mFiles.contains(id))
        throw CommandFailure(EXIT_USAGE, "stream " + std::to_string(id) + " is not served");
    // A host that knows nothing of the stream is as good: whatever tool asks it to may have ended it.
    constexpr int cUnknown = 1;
    ask(DeregisterStream{id}, cUnknown);
    const auto served = mFiles.find(id);
    if (served == mFiles.end())
        return;
    tellReading(served->second);
    mFiles.erase(served);
}

void Debugger::endServing() {
    for (const auto& served : mFiles)
        deregister(served.first);
    const uint64 end = getMicroseconds() + cLastMicroseconds;
    while (mNumDeregistering != 0 && getMicroseconds() < end && idle()) {
    }
    for (auto& [id, served] : mFiles)
        tellReading(served);
    mFiles.clear();
}

/// Nobody waits for what the host makes of it.
void Debugger::deregister(uint32 id) {
    ++mNumDeregistering;
    mClient.ask(DeregisterStream{id}, [this](const Answer<DeregisterStream::Reply>&) { --mNumDeregistering; });
}

bool Debugger::isAllRead() const noexcept {
    return std::all_of(mFiles.begin(), mFiles.end(), [](const auto& served) { return served.second.file.isRead(); });
}

bool Debugger::hasReadAll() {
    // It is told once.
    if (std::exchange(mUnseen[cWithdrawn], 0) != 0)
        throw CommandFailure(EXIT_INTERNAL, "a file was withdrawn");
    if (!isServing())
        throw CommandFailure(EXIT_USAGE, "no file is served");
    return isAllRead();
}

void Debugger::onDataRequest(const StreamDataRequest& request) {
    const auto found = mFiles.find(request.streamID);
    if (found == mFiles.end()) {
        if (++mNumBadRequests <= cMostBadRequests)
            onBadMessage("network stream data request: stream " + String().appendDecimal(request.streamID) +
                         " is not served" +
                         (mNumBadRequests == cMostBadRequests ? "; more of this kind are not told" : ""));
        return;
    }
    Served& served = found->second;
    StreamData data;
    const bool wasRead = served.file.isRead();
    const std::string problem = served.file.read(request, data);
    if (problem.empty()) {
        mClient.getSession().send(data);
        if (served.file.isRead() && !wasRead)
            tellReading(served);
        else
            showProgress(served);
        return;
    }
    // The thread of the host that waits for these bytes is let go with that.
    deregister(request.streamID);
    ++mNumWithdrawn;
    ++mUnseen[cWithdrawn];
    Json json = jsonOfReading(served.file);
    json["text"] = problem;
    clearProgress();
    if (isJson())
        printEvent("withdrawn", json, {});
    else
        getFace().tellShown(quote(served.file.getName()) + " was withdrawn: " + problem);
    tellReading(served);
    mFiles.erase(found);
}

/// Once, unless more was sent since.
void Debugger::tellReading(Served& served) {
    const ServedFile& file = served.file;
    if (served.toldSent == file.countSent() && served.isTold)
        return;
    served.isTold = true;
    served.toldSent = file.countSent();
    clearProgress();
    Json json = jsonOfReading(file);
    constexpr std::size_t cMostTold = 100;
    const RangeSet::Ranges ranges = file.getRead().getRanges(cMostTold);
    json.update({{"isWhole", file.isRead()}, {"numRanges", ranges.number}, {"ranges", ranges.first}});
    printEvent("served", json, {quote(file.getName()) + ": " + textOfReading(file, ranges.number)});
}

void Debugger::showProgress(const Served& served) {
    const bool isLine = getFace().isWatched && !isJson();
    const double pause = mOptions.progressSeconds.value_or(isJson() ? cJsonSeconds
                                                           : isLine ? cTerminalSeconds
                                                                    : cLogSeconds);
    const uint64 now = getMicroseconds();
    mLastProgress = mLastProgress == 0 ? now : mLastProgress;
    if (!mOptions.showsProgress || static_cast<double>(now - mLastProgress) < pause * 1e6)
        return;
    mLastProgress = now;
    const std::string text =
        quote(served.file.getName()) + ": " + textOfShare(served.file) + ", " + textOfRate(served.file);
    if (!isLine) {
        printEvent("progress", jsonOfReading(served.file), {text});
        return;
    }
    clearProgress();
    getFace().err << shown(text) << std::flush;
    mProgressLength = text.size();
}

/// Of a line that a terminal shows.
void Debugger::clearProgress() const {
    if (mProgressLength != 0)
        getFace().err << '\r' << std::string(mProgressLength, ' ') << '\r' << std::flush;
    mProgressLength = 0;
}

} // namespace Tarq::Tool
