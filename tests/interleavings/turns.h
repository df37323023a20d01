// Threads that run one at a time, and every order in which they may: a program is run again and again,
// each time with other switches between its threads, until all orders within a bound have been tried.
//
// A thread goes on until it waits. Elsewhere, at a point, a switch to another one is a preemption, and so is
// a stall, which lets time pass up to what another thread waits for (20 ms at most) while this one
// could go on; otherwise time passes only when no thread can. The bound is the number of both.
#ifndef BRENHOLT_TESTS_INTERLEAVINGS_TURNS_H
#define BRENHOLT_TESTS_INTERLEAVINGS_TURNS_H

#include <cstddef>
#include <functional>
#include <string>

namespace brenholt::turns {

struct Bound {
    int preemptions;
    bool stalls;
};

// Runs `program` in every order within `bound`; gives their number. Where one fails, or its threads wait
// for ever, the process runs it again, prints where it switched, and ends. BRENHOLT_SWITCHES holds such
// an order, as printed, to be run alone. `name` is that of the test.
size_t RunAll(const std::string& name, const Bound& bound, const std::function<void()>& program);

// The running order has failed.
[[noreturn]] void Fail(const std::string& what);

// What is not to be a point: a word without meaning for the order.
void Ignore(const void* word);
// A thread with this parameter is named so. A quiet one preempts no other, and its accesses are no points.
void Name(const void* parameter, const char* name, bool quiet);

// ---- for the instrumented classes --------------------------------------------------------------

void Point(const void* word);
// A point, and then a wait until `ready` holds.
void Await(const std::function<bool()>& ready);
struct Thread;
Thread* Register(const void* parameter);  // one that is about to be made
void Begin(Thread* thread);               // on it: its turn has come
void End();
void AwaitEnd(const Thread* thread);

}  // namespace brenholt::turns

#endif
