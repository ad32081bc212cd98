// Parameter record of the page method "showEasyWnd": a small notification
// window with a title, a body, two buttons and a display frequency. The
// library fills it from the page's params by field name and hands it to the
// host's ShowEasyWnd. Absent keys keep the values below.
#pragma once

#include <cstdint>
#include <string>

struct EasyWndFrequency {
    int32_t interval = 0;    // repetition interval
    std::string dimensions;  // what the interval counts in (per user, per scene...)
};

struct EasyWndButton {
    std::string text;    // caption
    std::string action;  // what the host does on a press, as the page encodes it
};

struct EasyWndParam {
    std::string title;    // non-empty
    std::string content;  // non-empty
    std::string scene;    // non-empty; tells the host's windows apart
    EasyWndFrequency frequency;
    EasyWndButton left;
    EasyWndButton right;
};
