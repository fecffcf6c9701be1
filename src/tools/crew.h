// Work shared out over several engines of one search thread each.
//
// The tool's own thread hands out jobs and takes their results in the order of the jobs, so that what it prints and writes
// is the same for any number of engines; each engine has a thread that carries out one job after the other. Without a
// crew the tool's own engine does everything, with all its threads.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/life.h"
#include "platform/threads.h"
#include "tools/tools.h"

// Who carries out a job.
struct Worker {
    Engine &engine;
    SearchPoll poll;                       // for `search`
    const std::function<bool()> &stopped;  // the job is to end early; its result will not be taken
};

class Crew {
public:
    // Starts `size` engines with the settings of the run's engine, but for one thread each; none for a size below 2.
    // Settings that change later are copied by copy_settings.
    Crew(ToolRun &run, int size);
    ~Crew() { dismiss(); }
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    // False, after a line, when there was no memory or no thread for all of them; the run's engine works alone then.
    bool started() const { return started_; }
    // Engines that work at once.
    int size() const { return engines_.empty() ? 1 : static_cast<int>(engines_.size()); }

    // Carries out jobs until next_job gives none or the user wants the tool to end. `next_job`: bool(Job &), and
    // `take`: void(Job &, Result &), run on this thread, the latter in the order of the jobs; `work`: Result(Worker &,
    // Job &), on any. At most four jobs a worker wait or lie finished at a time.
    template <typename Job, typename Result, typename NextJob, typename Work, typename Take>
    void run_in_order(NextJob next_job, Work work, Take take);

    // Gives all engines the settings of the run's engine, and derives their tables. Nobody works.
    void copy_settings();
    // Calls `prepare` for every engine that works, the run's own when it works alone. Nobody works.
    void prepare_engines(const std::function<void(Engine &)> &prepare);

private:
    using Task = std::function<void(Worker &)>;

    void serve(Engine &engine);
    void dismiss();
    void add_task(Task task);
    // Waits for `done` with an eye on the user.
    void wait_for(const std::atomic<bool> &done);
    void look_now_and_then();
    void stop_tasks();

    ToolRun &run_;
    bool started_ = true;
    double last_look_;  // seconds of the monotonic clock
    std::vector<std::unique_ptr<Engine>> engines_;
    std::vector<Thread> threads_;
    std::mutex lock_;  // guards tasks_ and closing_
    Condition task_added_;
    Condition task_done_;
    std::deque<Task> tasks_;
    bool closing_ = false;
    std::atomic<bool> stopped_{false};
};

template <typename Job, typename Result, typename NextJob, typename Work, typename Take>
void Crew::run_in_order(NextJob next_job, Work work, Take take) {
    struct Item {
        Job job{};
        Result result{};
        std::atomic<bool> done{false};
    };
    constexpr std::size_t JOBS_PER_WORKER = 4;
    std::deque<std::unique_ptr<Item>> items;
    bool more = true;
    while (true) {
        while (more && !run_.stopped && items.size() < JOBS_PER_WORKER * engines_.size() + 1) {
            auto item = std::make_unique<Item>();
            more = next_job(item->job);
            if (!more) break;
            add_task([&work, at = item.get()](Worker &worker) {
                if (!worker.stopped()) at->result = work(worker, at->job);
                at->done = true;
            });
            items.push_back(std::move(item));
        }
        if (items.empty()) return;
        wait_for(items.front()->done);
        if (run_.stopped) break;
        take(items.front()->job, items.front()->result);
        items.pop_front();
    }
    for (const auto &item : items) wait_for(item->done);
}
