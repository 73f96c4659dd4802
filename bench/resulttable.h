#pragma once

#include <string>
#include <vector>

namespace Tarq::Bench {

/// What came out for ours and one peer. Times are medians, for one operation.
struct Result {
    std::string name;
    std::string peer;
    double goal; ///< 0 for none
    double oursNanoseconds;
    double peerNanoseconds;
    unsigned disturbedRounds; ///< of both sides: those from which other programs took time

    double ratio() const { return oursNanoseconds / peerNanoseconds; }
    bool isMet() const { return ratio() <= goal; }
};

/// Prints one line after the other, so that a long run can be watched. In a smoke run nothing is said about goals.
class ResultTable {
public:
    ResultTable(bool smoke, unsigned rounds) : mSmoke(smoke), mRounds(rounds) {}

    void printHeader() const;
    void printResult(const Result& result) const;
    void printFailure(const std::string& name, const std::string& what) const;
    void printSummary(const std::vector<Result>& results) const;
    /// Throws `std::runtime_error` when the file cannot be written.
    void writeJson(const std::string& path, const std::vector<Result>& results) const;

private:
    bool mSmoke;
    unsigned mRounds; ///< of each side
};

} // namespace Tarq::Bench
