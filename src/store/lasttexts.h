#pragma once
// A long run of rows repeats its texts down a column (an item's description on each of its
// lines): a text equal to the last one of its column is that one again, held once.

#include <QByteArray>
#include <QByteArrayView>

#include <vector>

namespace tw {

// The last text of each column, as stored (its bytes).
class LastTexts {
public:
    explicit LastTexts(size_t columns) : bytes_(columns), seen_(columns, false) {}
    // Whether `bytes` is the last text of `column` again; if not, it is the last one from now.
    bool repeats(size_t column, QByteArrayView bytes) {
        if (seen_[column] && bytes == bytes_[column])
            return true;
        seen_[column] = true;
        bytes_[column] = bytes.toByteArray();
        return false;
    }

private:
    std::vector<QByteArray> bytes_;
    std::vector<bool> seen_;
};

} // namespace tw
