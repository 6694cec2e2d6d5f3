#include "core_fixtures.h"

namespace twtest {

Messages& messages() {
    static Messages m;
    return m;
}

std::vector<QString> Messages::texts() const {
    std::vector<QString> out;
    for (const auto& m : shown)
        out.push_back(m.text);
    return out;
}

tw::Answer Messages::answer(const tw::Message& m) {
    shown.push_back(m);
    if (!answers.empty()) {
        const tw::Answer a = answers.front();
        answers.pop_front();
        return a;
    }
    return tw::buttonsOf(m.flags) == tw::YesNo ? tw::Answer::Yes : tw::Answer::Ok;
}

namespace {
class Scripted : public tw::Messenger {
protected:
    tw::Answer show(const tw::Message& m) override { return messages().answer(m); }
};
} // namespace

tw::Messenger& scripted() {
    static Scripted s;
    return s;
}

void AppFolderTest::SetUp() {
    ASSERT_TRUE(dir_.isValid());
    tw::AppFolder::set(dir_.path());
    messages().clear();
    con_.conopen();
    ASSERT_TRUE(con_.isOpen());
}

void AppFolderTest::TearDown() {
    con_.conclose();
}

void AppFolderTest::writeConfig(const QString& user, const QString& password) {
    tw::writeLoginConfig(dir_.filePath(QStringLiteral("twk.cfg")),
                         {QStringLiteral("localhost"), user, password});
}

} // namespace twtest
