// A user interface that answers from a script and records what the program showed, so that
// every command runs headless.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "app/state.h"
#include "app/tools/seeds.h"
#include "app/ui.h"

namespace t3d {

struct Answer {
    bool ok = true;                  // false: Cancel / No
    int slot = -1;                   // selection: the slot; kNew for the "New[%d]" entry
    std::vector<std::string> texts;  // value texts, file name
    int rgb[3] = {0, 0, 0};
    app::FormatRequest format;
    app::CreateRequest create;
    app::LevelsRequest levels;
    app::OptionsRequest options;     // check box, factor texts and radio choice
    std::vector<app::Seed> seeds;    // clicked while "Pixel Input" is open
    app::Reply reply = app::Reply::Yes;  // a Yes/No/Cancel question (ok false: Cancel)
};

constexpr int kNew = -2;

class ScriptedUi : public app::UserInterface {
public:
    std::deque<Answer> answers;
    std::vector<std::string> log;    // one line per thing shown
    std::vector<app::SelectRequest> requests;
    bool waiting = false;
    int wait_calls = 0;
    std::string wait_trace;          // '+' hourglass on, '-' off

    // script helpers
    ScriptedUi& pick(int slot) { return push({.slot = slot}); }
    ScriptedUi& pick_new() { return push({.slot = kNew}); }
    ScriptedUi& cancel() { return push({.ok = false}); }
    ScriptedUi& yes() { return push({}); }
    ScriptedUi& no() { return cancel(); }
    ScriptedUi& reply(app::Reply r) { return push({.reply = r}); }
    ScriptedUi& values(std::vector<std::string> texts) { return push({.texts = std::move(texts)}); }
    ScriptedUi& push(Answer a) {
        answers.push_back(std::move(a));
        return *this;
    }
    bool logged(const std::string& line) const {
        for (const auto& l : log)
            if (l == line) return true;
        return false;
    }

    bool select(const app::SelectRequest& r, app::Selection& s) override {
        requests.push_back(r);
        static const char* const kinds[] = {"input", "output", "other", "open"};
        const Answer a = next(std::string("select ") + kinds[static_cast<int>(r.kind)] + ": " + r.caption);
        if (!a.ok) return false;
        s.slot = a.slot == kNew ? GetNewVolumeIndex() : a.slot;
        s.vol = a.slot == kNew ? nullptr : GetVolumeByIndex(a.slot);
        s.X = r.X, s.Y = r.Y, s.Z = r.Z;
        return true;
    }
    bool ask_values(const std::string& caption, const std::vector<std::string>& labels,
                    std::vector<std::string>& texts) override {
        std::string line = "values: " + caption;
        for (const auto& l : labels) line += " | " + l;
        const Answer a = next(line);
        texts = a.texts;
        return a.ok;
    }
    bool ask_yes_no(const std::string& text) override { return next("question: " + text).ok; }
    app::Reply ask_yes_no_cancel(const std::string& text) override {
        const Answer a = next("question (yes/no/cancel): " + text);
        return a.ok ? a.reply : app::Reply::Cancel;
    }
    void show_error(int code) override { log.push_back("error: " + std::to_string(code)); }
    void show_message(const std::string& text, const std::string& caption,
                      app::Icon icon) override {
        static const char* const icons[] = {"none", "information", "question", "warning", "error"};
        log.push_back("message [" + caption + "] (" + icons[static_cast<int>(icon)] + ") " + text);
    }
    std::string pick_save_file(const std::string& title, const std::string& filter) override {
        const Answer a = next("save file: " + title + " | " + filter);
        return a.ok && !a.texts.empty() ? a.texts[0] : std::string();
    }
    bool pick_colour(int rgb[3]) override {
        const Answer a = next("colour");
        for (int i = 0; i < 3; ++i) rgb[i] = a.rgb[i];
        return a.ok;
    }
    bool ask_format(app::FormatRequest& r) override { return take("format", &Answer::format, r); }
    bool create_volume(app::CreateRequest& r) override { return take("create", &Answer::create, r); }
    void destroy_volumes(const std::string& caption) override { log.push_back("destroy: " + caption); }
    void show_state() override { log.push_back("state"); }
    bool set_voi() override { return next("set voi").ok; }
    bool ask_levels(Volume*, app::LevelsRequest& r) override { return take("levels", &Answer::levels, r); }
    bool ask_options(app::OptionsRequest& r) override {
        const Answer a = next("options: " + r.caption);
        if (a.ok) {
            r.check = a.options.check;
            for (int i = 0; i < 3; ++i) r.factors[i] = a.options.factors[i];
            r.choice = a.options.choice;
        }
        return a.ok;
    }
    // the scripted seeds arrive as left clicks on vol's windows
    bool pixel_input(Volume* vol) override {
        const Answer a = next("pixel input");
        for (const app::Seed& s : a.seeds) app::voxel_clicked({vol, s.z, s.y, s.x, app::kLeftButton});
        return a.ok;
    }
    void about() override { log.push_back("about"); }
    void set_wait(bool on) override {
        waiting = on;
        wait_trace += on ? '+' : '-';
        if (on) ++wait_calls;
    }

private:
    // Logs what was shown and takes the next answer (Cancel when the script has run out).
    Answer next(const std::string& shown) {
        log.push_back(shown);
        if (answers.empty()) {
            log.push_back("(no answer: cancel)");
            return {.ok = false};
        }
        Answer a = answers.front();
        answers.pop_front();
        return a;
    }
    // A dialog filling one request: the answer's request on OK.
    template <class R> bool take(const std::string& shown, R Answer::*field, R& r) {
        const Answer a = next(shown);
        if (a.ok) r = a.*field;
        return a.ok;
    }
};

}  // namespace t3d
