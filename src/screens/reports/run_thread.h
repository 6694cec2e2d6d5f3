#pragma once
// A thread of its own for one report run. The run's connection is made, used and closed there
// (a connection belongs to the thread that made it), so everything the run does with its rows
// goes through this thread, and the window goes on answering meanwhile.

#include "store/messages.h"

#include <QEventLoop>
#include <QObject>
#include <QThread>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>

class RunThread {
public:
    RunThread();
    // Asks the work under way to stop and waits for its end.
    ~RunThread();
    RunThread(const RunThread&) = delete;
    RunThread& operator=(const RunThread&) = delete;

    // Runs `work` on the thread; `done` runs on the window's thread after it, with what `work`
    // threw, if anything. Work posted runs in the order posted.
    void post(std::function<void()> work, std::function<void(std::exception_ptr)> done);
    // Runs `work` on the thread and waits for it; the window paints meanwhile but takes no
    // input. When the work takes more than half a second, `slow` runs (it shows a modal dialog,
    // with a Cancel), and from then on input is taken: the dialog alone has it. Throws what
    // `work` threw.
    void call(const std::function<void()>& work, const std::function<void()>& slow = {});
    // From the window's thread, while a call waits: it takes no input again until the work ends
    // (the dialog was cancelled, and the work stops at its next look).
    void stopTakingInput();

    // The thread the work runs on: an object the work uses is moved there first.
    QThread& thread() { return thread_; }

    void cancel() { cancelled_ = true; }
    bool cancelled() const { return cancelled_; }

    // Tells the user from the thread: the box shows on the window's thread and the thread waits
    // for its answer, or for the run to be cancelled (the answer is then Ok).
    tw::Messenger& messages() { return messages_; }

private:
    class WindowMessages : public tw::Messenger {
    public:
        explicit WindowMessages(const std::atomic<bool>& cancelled) : cancelled_(cancelled) {}

    protected:
        tw::Answer show(const tw::Message& m) override;

    private:
        const std::atomic<bool>& cancelled_;
    };

    std::atomic<bool> cancelled_{false};
    WindowMessages messages_{cancelled_};
    QThread thread_;
    std::unique_ptr<QObject> worker_; // lives on thread_
    QEventLoop* waiting_ = nullptr;   // the loop of the call under way
    bool takesInput_ = false;
    QObject home_; // lives on the window's thread: what `done` runs in
};
