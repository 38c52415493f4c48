#include "ui/sheets/Alert.h"

#include <cstddef>
#include <utility>

#include <adwaita.h>

namespace ostrel {

void showAlert(Gtk::Window* parent, const std::string& title, const std::string& text, std::vector<Answer> answers) {
    GtkWidget* const widget =
        adw_message_dialog_new(parent != nullptr ? parent->gobj() : nullptr, title.c_str(), text.c_str());
    auto* const dialog = ADW_MESSAGE_DIALOG(widget);
    gtk_window_set_title(GTK_WINDOW(dialog), title.c_str());
    std::string standard = "0";
    for (std::size_t i = 0; i < answers.size(); ++i) {
        const std::string name = std::to_string(i);
        adw_message_dialog_add_response(dialog, name.c_str(), answers[i].text.c_str());
        if (answers[i].kind == Answer::Kind::destructive)
            adw_message_dialog_set_response_appearance(dialog, name.c_str(), ADW_RESPONSE_DESTRUCTIVE);
        if (answers[i].kind == Answer::Kind::suggested) {
            adw_message_dialog_set_response_appearance(dialog, name.c_str(), ADW_RESPONSE_SUGGESTED);
            standard = name;
        }
    }
    adw_message_dialog_set_default_response(dialog, standard.c_str());
    adw_message_dialog_set_close_response(dialog, "0");
    g_signal_connect_data(
        dialog, "response", G_CALLBACK(+[](AdwMessageDialog*, const char* name, gpointer data) {
            const auto& kept = *static_cast<std::vector<Answer>*>(data);
            const Answer& answer = kept[static_cast<std::size_t>(g_ascii_strtoull(name, nullptr, 10))];
            if (answer.chosen) answer.chosen();
        }),
        new std::vector<Answer>(std::move(answers)),
        [](gpointer data, GClosure*) { delete static_cast<std::vector<Answer>*>(data); }, GConnectFlags{});
    gtk_window_present(GTK_WINDOW(dialog));
}

}   // namespace ostrel
