#pragma once
// A report's pages as pictures, made one at a time: the viewer shows each as soon as it is made,
// while the next ones are laid out, and paints them at any zoom.

#include <QPicture>
#include <QTextDocument>

#include <functional>
#include <optional>

// Lays `doc` out on the pages a printed report has (tw::reports::setUpPage) and gives each page
// to `page` as soon as it is painted. A page's picture is in the device pixels of the page's
// printable area. Usable on any thread. When `page` gives false, no more pages are made and
// recordPages gives false; the document is then fit only to be let go. `goOn` is asked as the
// pages are laid out, before the first is made (a long report's layout takes seconds): false
// stops it there, and recordPages gives false.
bool recordPages(QTextDocument& doc, bool landscape, const std::function<bool(QPicture)>& page,
                 const std::function<bool()>& goOn = {});

// The first page of `doc` laid out as recordPages does, when another page follows it; none when
// it is the only one.
std::optional<QPicture> recordFirstPage(QTextDocument& doc, bool landscape);
