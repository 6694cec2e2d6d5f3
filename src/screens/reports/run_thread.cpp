#include "screens/reports/run_thread.h"

#include "ui/kit.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSemaphore>
#include <QTimer>

RunThread::RunThread() : worker_(std::make_unique<QObject>()) {
    thread_.setObjectName(QStringLiteral("report run"));
    worker_->moveToThread(&thread_);
    thread_.start();
}

RunThread::~RunThread() {
    cancel();
    // Quits after whatever was posted before, so rows made there are let go there.
    QMetaObject::invokeMethod(
        worker_.get(), [] { QThread::currentThread()->quit(); }, Qt::QueuedConnection);
    thread_.wait();
}

void RunThread::post(std::function<void()> work, std::function<void(std::exception_ptr)> done) {
    QMetaObject::invokeMethod(
        worker_.get(),
        [this, work = std::move(work), done = std::move(done)] {
            std::exception_ptr failure;
            try {
                work();
            } catch (...) {
                failure = std::current_exception();
            }
            if (done)
                QMetaObject::invokeMethod(
                    &home_, [done, failure] { done(failure); }, Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}

void RunThread::call(const std::function<void()>& work, const std::function<void()>& slow) {
    QEventLoop loop;
    std::exception_ptr failure;
    bool ended = false;
    takesInput_ = false;
    waiting_ = &loop;
    post(work, [&](std::exception_ptr e) {
        failure = e;
        ended = true;
        loop.quit();
    });
    QTimer later;
    later.setSingleShot(true);
    if (slow) {
        QObject::connect(&later, &QTimer::timeout, [&] {
            slow();
            takesInput_ = true;
            loop.quit(); // and on, taking input
        });
        later.start(500);
    }
    while (!ended)
        loop.exec(takesInput_ ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    waiting_ = nullptr;
    if (failure)
        std::rethrow_exception(failure);
}

void RunThread::stopTakingInput() {
    takesInput_ = false;
    if (waiting_)
        waiting_->quit(); // and on, without input
}

tw::Answer RunThread::WindowMessages::show(const tw::Message& m) {
    struct Asked {
        QSemaphore answered;
        tw::Answer answer = tw::Answer::Ok;
    };
    const auto asked = std::make_shared<Asked>();
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [asked, m] {
            asked->answer = ui::boxes().say(m.text, m.flags, m.title);
            asked->answered.release();
        },
        Qt::QueuedConnection);
    // A window closing waits for this thread, and shows no box meanwhile.
    while (!asked->answered.tryAcquire(1, 50))
        if (cancelled_)
            return tw::Answer::Ok;
    return asked->answer;
}
