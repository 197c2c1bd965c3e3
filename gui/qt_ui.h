// The workstation's user interface: the real dialogs and message boxes over the frame window.
#pragma once

#include "app/ui.h"

class QWidget;

namespace gui {

using namespace app;

class QtUi : public UserInterface {
public:
    explicit QtUi(QWidget* owner) : owner_(owner) {}
    void set_owner(QWidget* owner) { owner_ = owner; }

    bool select(const SelectRequest& request, Selection& result) override;
    bool ask_values(const std::string& caption, const std::vector<std::string>& labels,
                    std::vector<std::string>& texts) override;
    bool ask_yes_no(const std::string& text) override;
    Reply ask_yes_no_cancel(const std::string& text) override;
    void show_error(int code) override;
    void show_message(const std::string& text, const std::string& caption, Icon icon) override;
    std::string pick_save_file(const std::string& title, const std::string& filter) override;
    bool pick_colour(int rgb[3]) override;
    bool ask_format(FormatRequest& request) override;
    bool create_volume(CreateRequest& request) override;
    void destroy_volumes(const std::string& caption) override;
    void show_state() override;
    bool set_voi() override;
    bool ask_levels(Volume* vol, LevelsRequest& request) override;
    bool ask_options(OptionsRequest& request) override;
    bool pixel_input(Volume* vol) override;
    void about() override;
    void set_wait(bool on) override;

private:
    QWidget* owner_;
    bool waiting_ = false;
};

}  // namespace gui
