#include "tools/crew.h"

#include <chrono>
#include <system_error>

#include "base/output.h"
#include "platform/clock.h"
#include "tools/tool_search.h"

namespace {

constexpr int LOOK_MS = 5;  // between looks at the user's wish
constexpr double MILLISECOND = 0.001;

// What a search depends on beside the settings: the rate that a switch or a strength has set, and the tablebases that are
// in use.
void copy_state(const Engine &from, Engine &to) {
    to.shared.target_nps = from.shared.target_nps.load();
    to.calibrated_nps = from.calibrated_nps;
    to.calibrated_elo = from.calibrated_elo;
    derive_tables(to);
    if (from.shared.tablebases.largest > 0) set_up_tablebases(to, to.settings.SyzygyPath.view());
}

}  // namespace

Crew::Crew(ToolRun &run, int size) : run_(run), last_look_(monotonic_seconds()) {
    if (size < 2) return;
    Settings settings = run.engine.settings;
    settings.Threads = 1;
    settings.Log = 0;
    for (int i = 0; i < size && started_; ++i) {
        engines_.push_back(std::make_unique<Engine>());
        started_ = start_engine(*engines_.back(), settings, Reporter{}) == 0;
        if (!started_) break;
        copy_state(run.engine, *engines_.back());
        try {
            threads_.emplace_back([this, &engine = *engines_.back()] { serve(engine); });
        } catch (const std::system_error &) {
            started_ = false;
        }
    }
    if (started_) return;
    print_format("cannot start %d engines at once", size);
    dismiss();
}

void Crew::dismiss() {
    {
        const std::lock_guard<std::mutex> guard(lock_);
        closing_ = true;
    }
    task_added_.notify_all();
    for (Thread &thread : threads_) thread.join();
    threads_.clear();
    engines_.clear();
}

void Crew::serve(Engine &engine) {
    const std::function<bool()> stopped = [this] { return stopped_.load(); };
    Worker worker{engine, {}, stopped};
    while (true) {
        Task task;
        {
            std::unique_lock<std::mutex> guard(lock_);
            task_added_.wait(guard, [this] { return closing_ || !tasks_.empty(); });
            if (tasks_.empty()) return;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task(worker);
        // Under the lock, so that a wait that has just found the work undone is told.
        { const std::lock_guard<std::mutex> guard(lock_); }
        task_done_.notify_all();
    }
}

void Crew::add_task(Task task) {
    if (engines_.empty()) {
        const auto look = [](void *context) { look_for_wish(*static_cast<ToolRun *>(context)); };
        const std::function<bool()> stopped = [this] { return run_.stopped; };
        Worker worker{run_.engine, {look, &run_, LOOK_MS}, stopped};
        task(worker);
        return;
    }
    {
        const std::lock_guard<std::mutex> guard(lock_);
        tasks_.push_back(std::move(task));
    }
    task_added_.notify_one();
}

void Crew::wait_for(const std::atomic<bool> &done) {
    if (engines_.empty()) return;  // the task has been carried out, and has looked as often as it wanted
    look_now_and_then();
    std::unique_lock<std::mutex> guard(lock_);
    while (!done) {
        if (run_.stopped) stop_tasks();
        task_done_.wait_for(guard, std::chrono::milliseconds(LOOK_MS));
        if (done) return;
        guard.unlock();
        look_now_and_then();
        guard.lock();
    }
}

void Crew::look_now_and_then() {
    const double now = monotonic_seconds();
    if (now < last_look_ + LOOK_MS * MILLISECOND) return;
    last_look_ = now;
    look_for_wish(run_);
}

// Again and again while somebody waits: a search that begins now has not seen the stop before it.
void Crew::stop_tasks() {
    stopped_ = true;
    for (const auto &engine : engines_) stop_search(*engine, STOP_ABANDON);
}

void Crew::copy_settings() {
    for (const auto &engine : engines_) {
        Settings settings = run_.engine.settings;
        settings.Threads = 1;
        settings.Log = 0;
        engine->settings = settings;
        derive_tables(*engine);
        engine->settings_changed = false;
    }
}

void Crew::prepare_engines(const std::function<void(Engine &)> &prepare) {
    if (engines_.empty()) prepare(run_.engine);
    for (const auto &engine : engines_) prepare(*engine);
}
