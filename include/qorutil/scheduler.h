// SPDX-License-Identifier: MIT
//
// Scheduler: periodic jobs in the caller's thread, on the monotonic clock. It
// serves as the main loop of a program.

#ifndef QORUTIL_SCHEDULER_H
#define QORUTIL_SCHEDULER_H

#include "qorutil/export.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <vector>

/// A fixed set of periodic jobs and the loop that runs them.
///
/// Jobs are due at the start of the run plus their offset, then each period
/// later. The next due time advances from the last due time, not from the
/// clock: a job that falls behind runs back-to-back until it has caught up, and
/// no run is skipped. Jobs due at the same instant run one after the other, in
/// the order in which they were added. A due time that 64 bits of nanoseconds
/// cannot hold stays at the end of that range.
///
/// Everything happens in the calling thread; there are no locks. A scheduler
/// cannot be copied or moved.
///
///     JobScheduler scheduler;
///     scheduler.add(std::chrono::seconds(1), std::chrono::seconds(0), poll)
///         .add(std::chrono::minutes(1), std::chrono::seconds(5), report);
///     scheduler.run({});  // for ever
class QORUTIL_EXPORT JobScheduler {
 public:
  /// One job.
  struct Job {
    /// The time from one run to the next. A job of period 0 is always due.
    std::chrono::nanoseconds period{};
    /// The first due time, from the start of run().
    std::chrono::nanoseconds offset{};
    /// The time at which the job is due next.
    std::chrono::steady_clock::time_point next{};
    /// The work. An empty function throws std::bad_function_call when due.
    std::function<void()> func{};
  };

  /// Makes a scheduler without jobs and with the time scale 1.0.
  JobScheduler();

  /// Makes a scheduler without jobs; setTimeScale() tells what `scale` does.
  explicit JobScheduler(double scale);

  /// Schedulers are neither copied nor moved.
  JobScheduler(const JobScheduler&) = delete;

  /// Schedulers are neither copied nor assigned.
  JobScheduler& operator=(const JobScheduler&) = delete;

  /// Releases the jobs.
  ~JobScheduler();

  /// Appends a job and returns this scheduler. The job is due `offset` after
  /// the start of a run, then every `period`.
  ///
  /// Failure: throws `QorException(EBUSY, "jobs must not change during a run")`
  /// when called from a job; the vector's exceptions pass through.
  JobScheduler& add(std::chrono::nanoseconds period,
                    std::chrono::nanoseconds offset,
                    std::function<void()> func);

  /// Sets the factor by which run() stretches all periods and offsets; only a
  /// value above 1.0 has an effect.
  ///
  /// Failure: throws `QorException(EBUSY, "jobs must not change during a run")`
  /// when called from a job.
  void setTimeScale(double scale);

  /// Returns the factor for periods and offsets.
  double getTimeScale() const;

  /// Returns the jobs in the order in which they were added.
  const std::vector<Job>& getJobs() const;

  /// Returns the largest number of jobs found due at the same instant since
  /// run() began.
  std::size_t getMaxRunQueue() const;

  /// Returns the time at which the last run() began; the clock's epoch before.
  std::chrono::steady_clock::time_point getStart() const;

  /// Runs the jobs until `until` has passed. A time point with the count 0
  /// means for ever. Without jobs it returns at once.
  ///
  /// It starts afresh: the start is now, every job is due its offset later, and
  /// getMaxRunQueue() is 0. With a time scale above 1.0, periods and offsets
  /// become (time × scale + 0.5) nanoseconds, truncated toward zero, and
  /// replace the former ones: every further run() stretches them again.
  ///
  /// `until` is tested between batches alone, each time anew, so that a job may
  /// move it: a batch that sleeps past it still runs. Signals do not end a
  /// sleep; if `nanosleep` fails otherwise, the batch runs early.
  ///
  /// Failure: an exception of a job leaves run(); that job has not advanced,
  /// and later jobs of its batch have not run. An empty function throws
  /// std::bad_function_call. When called from a job of this scheduler with an
  /// end that has not passed, throws `QorException(EBUSY, "scheduler is already
  /// running")` and changes nothing.
  ///
  /// A job may call it with an end that has passed, to start afresh. The rest
  /// of its batch still runs; then the jobs that ran after the call, the
  /// calling one included, are due their period after the new due times.
  ///
  ///     using Clock = std::chrono::steady_clock;
  ///     scheduler.run(Clock::now() + std::chrono::seconds(10));
  void run(const std::chrono::steady_clock::time_point& until);

  /// Waits for the batch of jobs that are due next and runs it; `now` is the
  /// caller's latest reading of the clock.
  ///
  /// The batch is all jobs due at the earliest instant. When that is later than
  /// `now` the clock is read again, and what is missing is slept. It is called
  /// in a loop of one's own, after a run() has set the due times. It allocates
  /// no memory once it has been called with the jobs there are.
  ///
  /// Failure: as for run(). Without jobs, throws `QorException(14, "run queue
  /// must never be empty")`; when called from a job of this scheduler,
  /// `QorException(EBUSY, "scheduler is already running")`.
  ///
  ///     using Clock = std::chrono::steady_clock;
  ///     const Clock::time_point past(std::chrono::nanoseconds(1));
  ///     for (scheduler.run(past); !isDone();) {  // run() sets the due times
  ///       scheduler.runNext(Clock::now());
  ///     }
  void runNext(const std::chrono::steady_clock::time_point& now);

 private:
  class Running;

  void restart(const std::chrono::steady_clock::time_point& now);
  bool isBurst() const;
  void searchJobs();
  void findBatch();
  bool appendBatch();
  void mergeBatch();
  void sortJobs();
  void putBatchBack();
  void runBatch(const std::chrono::steady_clock::time_point& now);

  std::chrono::steady_clock::time_point start{};
  std::vector<Job> jobs;
  double timeScale{1.0};
  std::size_t maxRunQueue{0};
  // The batch, from `firstDue` on, in the order of `jobs`. As long as `sorted`
  // says so the other jobs follow, those due first in front.
  std::vector<std::vector<Job>::iterator> runQueue;
  std::size_t firstDue{0};
  std::size_t batchSize{0};
  bool sorted{false};
  // While a batch runs, and when an exception has ended it.
  bool unfinished{false};
  std::vector<std::vector<Job>::iterator> moving;  // while a batch is merged
  // How often all jobs were looked at since they were last sorted.
  std::size_t searches{0};
  bool running{false};
};

/// Writes `job` to `os` as "(period,offset,due time)" and returns `os`.
///
/// Period and offset are counts of nanoseconds, written as `os` writes any
/// integer. With `showbase` set each is followed by its unit, "ns" or, when
/// `skipws` is cleared, " ns". The due time is the time of day of its count, as
/// the `timespec` printer writes it; with `scientific` set it is a count like
/// the others. A pending field width applies to the opening parenthesis.
///
/// On a stream whose locale groups digits the counts and the fraction of the
/// due time are grouped ("00:00:05.004.200"); for plain digits imbue
/// std::locale::classic().
///
///     os << job;                   // "(1000,0,00:00:05.000000000)"
///     os << std::showbase << job;  // "(1000ns,0ns,00:00:05.000000000)"
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const JobScheduler::Job& job);

#endif  // QORUTIL_SCHEDULER_H
