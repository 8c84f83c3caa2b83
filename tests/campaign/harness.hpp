// What all campaigns have in common: numbered cases, run in processes of their own on every core, so that a case that
// crashes or does not end is named and the others go on.
//
// A campaign is one file NAME_campaign.cpp: a case_list and a main() that hands it to run(). Its arguments:
//
//   (none)                       every case
//   --sample COUNT [--seed S]    so many of them, spread over the whole list
//   --case NUMBER                this one, in the foreground
//   --jobs COUNT                 worker processes (as many as there are cores)
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace campaign {

class case_list {
public:
    virtual ~case_list() = default;
    virtual size_t size() const = 0;
    virtual std::string describe(size_t number) const = 0;
    // Runs in a worker: in an empty working directory of that worker, with standard output thrown away. Cases share
    // what earlier ones of the same worker have left in memory.
    virtual void run(size_t number) = 0;
};

// The exit status: 0 when every case has passed. Prints the counts and, for a case that has not, its description and
// how to repeat it.
int run(int argc, char** argv, case_list& cases);

// Ends the case as failed unless `holds`.
void expect(bool holds, const char* what);
[[noreturn]] void fail(const std::string& what);

// Ends the case as passed although its work is not done: the input asks for more of it than is worth waiting for.
[[noreturn]] void stop_here();

// A figure that is added up over all workers, or the largest of all; printed at the end. To be made before run().
class figure {
public:
    enum class kind { sum, most };
    explicit figure(const char* label, kind what = kind::sum);
    void add(uint64_t value);

private:
    std::atomic<uint64_t>* value_;
    kind kind_;
};

} // namespace campaign
