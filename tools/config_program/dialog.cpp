// The settings window. Every control edits a copy of the settings record, which OK saves through the
// plugin's settings code; ranges come from the key table, so a value out of range cannot be entered.
#include "tools/config_program/dialog.h"

#include <gtk/gtk.h>
#include <sys/stat.h>

#include <chrono>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "reader/disc_kinds.h"
#include "tools/common/combo_capture.h"
#include "tools/common/combo_display.h"
#include "input/input_devices.h"
#include "input/key_combo.h"
#include "tools/config_program/disc_preview.h"
#include "tools/config_program/settings_file.h"
#include "tools/config_program/settings_keys.h"

namespace lumadisc::configprogram {

namespace {

constexpr int kCaptureSeconds = 10;

// The action names players read, in the order of the hot-key actions.
// Their mnemonics differ from each other and from the page tabs, OK and Cancel, which are always shown;
// each reaches its row's first "Set" (22 Set and Clear buttons cannot each have a letter of their own).
const char* const kActionLabels[kHotKeyActionCount] = {
    "Settings _window", "Show _status",     "Toggle _XA audio",       "_Toggle CD audio",
    "XA vo_lume down",  "XA volume u_p",    "CD audio volume dow_n",  "CD audio volume _up",
    "Open the cove_r",  "Close the co_ver", "Swap d_iscs",
};

struct Control {
    const SettingKey* key;
    GtkWidget* widget;
};

struct Window {
    SettingsFile* file = nullptr;
    GtkWidget* window = nullptr;
    std::vector<Control> controls;
    GtkWidget* discEntry = nullptr;
    GtkWidget* discInfo = nullptr;
    GtkWidget* recent = nullptr;
    GtkWidget* comboLabels[kHotKeyActionCount][kHotKeySlots] = {};
    std::string combos[kHotKeyActionCount][kHotKeySlots];
    int result = 1;
    // The capture in progress.
    bool inputReady = false;
    GtkWidget* captureDialog = nullptr;
    ComboCapture capture;
    int captureAction = -1, captureSlot = -1;
    std::chrono::steady_clock::time_point captureEnd;
};

void setTip(GtkWidget* widget, const SettingKey& key) { gtk_widget_set_tooltip_text(widget, key.tooltip.c_str()); }

GtkWidget* newPage(GtkWidget* notebook, const char* title) {
    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_row_spacing(GTK_GRID(grid), 6);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 12);
    gtk_container_set_border_width(GTK_CONTAINER(grid), 12);
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), grid, gtk_label_new_with_mnemonic(title));
    return grid;
}

void addFlag(Window& w, GtkWidget* grid, int row, const char* key, const char* label) {
    const SettingKey* k = findSettingKey(key);
    GtkWidget* check = gtk_check_button_new_with_mnemonic(label);
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(check), settingValue(w.file->settings(), *k) == "true");
    setTip(check, *k);
    gtk_grid_attach(GTK_GRID(grid), check, 0, row, 2, 1);
    w.controls.push_back({k, check});
}

// A spin button, or a scale for the volumes; both hold only values inside the key's range.
void addNumber(Window& w, GtkWidget* grid, int row, const char* key, const char* label, bool scale) {
    const SettingKey* k = findSettingKey(key);
    const double value = std::stod(settingValue(w.file->settings(), *k));
    GtkWidget* control = scale ? gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, k->low, k->high, 1)
                               : gtk_spin_button_new_with_range(k->low, k->high, 1);
    if (scale) {
        gtk_range_set_value(GTK_RANGE(control), value);
        gtk_scale_set_digits(GTK_SCALE(control), 0);
        gtk_widget_set_size_request(control, 240, -1);
    } else {
        gtk_spin_button_set_value(GTK_SPIN_BUTTON(control), value);
        gtk_spin_button_set_numeric(GTK_SPIN_BUTTON(control), TRUE);
    }
    GtkWidget* name = gtk_label_new_with_mnemonic(label);
    gtk_label_set_mnemonic_widget(GTK_LABEL(name), control);
    gtk_widget_set_halign(name, GTK_ALIGN_START);
    setTip(control, *k);
    setTip(name, *k);
    gtk_grid_attach(GTK_GRID(grid), name, 0, row, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), control, 1, row, 1, 1);
    w.controls.push_back({k, control});
}

void showDiscInfo(Window& w) {
    const std::string path = gtk_entry_get_text(GTK_ENTRY(w.discEntry));
    gtk_label_set_text(GTK_LABEL(w.discInfo), describeDisc(w.file->settings(), path).c_str());
}

void onDiscChanged(GtkEntry*, gpointer data) { showDiscInfo(*static_cast<Window*>(data)); }

void onRecentChosen(GtkListBox*, GtkListBoxRow* row, gpointer data) {
    auto& w = *static_cast<Window*>(data);
    if (row == nullptr) return;
    const auto* text = static_cast<const char*>(g_object_get_data(G_OBJECT(row), "path"));
    if (text != nullptr) gtk_entry_set_text(GTK_ENTRY(w.discEntry), text);
}

void onNoDisc(GtkButton*, gpointer data) { gtk_entry_set_text(GTK_ENTRY(static_cast<Window*>(data)->discEntry), ""); }

void onDrive(GtkButton* button, gpointer data) {
    gtk_entry_set_text(GTK_ENTRY(static_cast<Window*>(data)->discEntry),
                       static_cast<const char*>(g_object_get_data(G_OBJECT(button), "node")));
}

void onBrowse(GtkButton*, gpointer data) {
    auto& w = *static_cast<Window*>(data);
    GtkWidget* chooser = gtk_file_chooser_dialog_new("Choose a disc image", GTK_WINDOW(w.window),
                                                     GTK_FILE_CHOOSER_ACTION_OPEN, "_Cancel", GTK_RESPONSE_CANCEL,
                                                     "_Open", GTK_RESPONSE_ACCEPT, nullptr);
    // The disc kinds the plugin reads, from its own list of kinds.
    GtkFileFilter* discs = gtk_file_filter_new();
    std::string names;
    for (const DiscKind& kind : discKinds()) {
        if (kind.filterPatterns == nullptr) continue;
        const std::string pattern = kind.filterPatterns;
        gtk_file_filter_add_pattern(discs, pattern.c_str());
        std::string upper = pattern;
        for (char& c : upper) c = static_cast<char>(g_ascii_toupper(c));
        gtk_file_filter_add_pattern(discs, upper.c_str());
        names += (names.empty() ? "" : ", ") + pattern.substr(2);
    }
    gtk_file_filter_set_name(discs, ("Disc images (" + names + ")").c_str());
    gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser), discs);
    GtkFileFilter* all = gtk_file_filter_new();
    gtk_file_filter_set_name(all, "All files");
    gtk_file_filter_add_pattern(all, "*");
    gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser), all);
    // It opens where the current disc is, not in the toolkit's recent files.
    const std::string current = gtk_entry_get_text(GTK_ENTRY(w.discEntry));
    const size_t slash = current.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : current.substr(0, slash == 0 ? 1 : slash);
    struct stat status {};
    if (!folder.empty() && stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser), folder.c_str());
    } else if (const char* home = g_get_home_dir()) {
        gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser), home);
    }
    if (gtk_dialog_run(GTK_DIALOG(chooser)) == GTK_RESPONSE_ACCEPT) {
        gchar* name = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(chooser));
        if (name != nullptr) gtk_entry_set_text(GTK_ENTRY(w.discEntry), name);
        g_free(name);
    }
    gtk_widget_destroy(chooser);
}

void buildDiscPage(Window& w, GtkWidget* notebook) {
    GtkWidget* grid = newPage(notebook, "_Disc");
    const SettingKey* current = findSettingKey("cd selection:current");
    w.discEntry = gtk_entry_new();
    gtk_entry_set_max_length(GTK_ENTRY(w.discEntry), current->high);
    gtk_entry_set_text(GTK_ENTRY(w.discEntry), w.file->settings().current);
    gtk_widget_set_hexpand(w.discEntry, TRUE);
    setTip(w.discEntry, *current);
    GtkWidget* label = gtk_label_new_with_mnemonic("_Image or drive:");
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), w.discEntry);
    gtk_widget_set_halign(label, GTK_ALIGN_START);
    GtkWidget* browse = gtk_button_new_with_mnemonic("_Browse...");
    gtk_widget_set_tooltip_text(browse, "Choose a disc image file");
    g_signal_connect(browse, "clicked", G_CALLBACK(onBrowse), &w);
    gtk_grid_attach(GTK_GRID(grid), label, 0, 0, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), w.discEntry, 1, 0, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), browse, 2, 0, 1, 1);

    // The discs played before, shown as a list (the newest first); choosing one makes it the disc.
    w.recent = gtk_list_box_new();
    gtk_list_box_set_activate_on_single_click(GTK_LIST_BOX(w.recent), TRUE);
    for (const std::string& item : w.file->recent()) {
        GtkWidget* row = gtk_list_box_row_new();
        GtkWidget* text = gtk_label_new(item.c_str());
        gtk_widget_set_halign(text, GTK_ALIGN_START);
        gtk_label_set_ellipsize(GTK_LABEL(text), PANGO_ELLIPSIZE_START);
        gtk_container_add(GTK_CONTAINER(row), text);
        g_object_set_data_full(G_OBJECT(row), "path", g_strdup(item.c_str()), g_free);
        gtk_list_box_insert(GTK_LIST_BOX(w.recent), row, -1);
    }
    if (w.file->recent().empty()) gtk_list_box_set_placeholder(GTK_LIST_BOX(w.recent), gtk_label_new("(none yet)"));
    gtk_widget_set_tooltip_text(w.recent, "Discs played before; choosing one makes it the disc");
    g_signal_connect(w.recent, "row-activated", G_CALLBACK(onRecentChosen), &w);
    GtkWidget* recentScroll = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(recentScroll), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_widget_set_size_request(recentScroll, -1, 90);
    gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(recentScroll), GTK_SHADOW_IN);
    gtk_container_add(GTK_CONTAINER(recentScroll), w.recent);
    GtkWidget* recentLabel = gtk_label_new_with_mnemonic("_Recently used:");
    gtk_label_set_mnemonic_widget(GTK_LABEL(recentLabel), w.recent);
    gtk_widget_set_halign(recentLabel, GTK_ALIGN_START);
    gtk_widget_set_valign(recentLabel, GTK_ALIGN_START);
    gtk_grid_attach(GTK_GRID(grid), recentLabel, 0, 1, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), recentScroll, 1, 1, 2, 1);

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    GtkWidget* none = gtk_button_new_with_mnemonic("_No CD (bios shell)");
    gtk_widget_set_tooltip_text(none, "Start the console without a disc");
    g_signal_connect(none, "clicked", G_CALLBACK(onNoDisc), &w);
    gtk_box_pack_start(GTK_BOX(buttons), none, FALSE, FALSE, 0);
    for (const char* node : {"/dev/sr0", "/dev/sr1"}) {
        struct stat status {};
        if (stat(node, &status) != 0 || !S_ISBLK(status.st_mode)) continue;
        const std::string text = std::string("Dri_ve ") + node;
        GtkWidget* drive = gtk_button_new_with_mnemonic(text.c_str());
        gtk_widget_set_tooltip_text(drive, "Play the disc in this drive");
        g_object_set_data(G_OBJECT(drive), "node", const_cast<char*>(node));
        g_signal_connect(drive, "clicked", G_CALLBACK(onDrive), &w);
        gtk_box_pack_start(GTK_BOX(buttons), drive, FALSE, FALSE, 0);
    }
    gtk_grid_attach(GTK_GRID(grid), buttons, 1, 2, 2, 1);

    w.discInfo = gtk_label_new("");
    gtk_widget_set_halign(w.discInfo, GTK_ALIGN_START);
    gtk_widget_set_valign(w.discInfo, GTK_ALIGN_START);
    gtk_label_set_selectable(GTK_LABEL(w.discInfo), TRUE);
    PangoAttrList* mono = pango_attr_list_new();
    pango_attr_list_insert(mono, pango_attr_family_new("monospace"));
    gtk_label_set_attributes(GTK_LABEL(w.discInfo), mono);
    pango_attr_list_unref(mono);
    gtk_widget_set_tooltip_text(w.discInfo, "What the plugin makes of the chosen disc");
    gtk_grid_attach(GTK_GRID(grid), w.discInfo, 1, 3, 2, 1);
    g_signal_connect(w.discEntry, "changed", G_CALLBACK(onDiscChanged), &w);
    showDiscInfo(w);
}

void showCombo(Window& w, int action, int slot) {
    const std::string& text = w.combos[action][slot];
    gtk_label_set_text(GTK_LABEL(w.comboLabels[action][slot]),
                       text.empty() ? "Unassigned" : comboDisplayText(comboParse(text.c_str())).c_str());
}

void endCapture(Window& w) {
    if (w.captureDialog != nullptr) gtk_widget_destroy(w.captureDialog);
    w.captureDialog = nullptr;
    w.captureAction = -1;
}

// A lone Escape cancels the capture rather than becoming the binding.
bool isEscape(const KeyCombo& combo) {
    return combo.count == 1 && std::strstr(comboText(combo), "Escape") != nullptr &&
           std::strchr(comboText(combo), '+') == nullptr;
}

gboolean pollCapture(gpointer data) {
    auto& w = *static_cast<Window*>(data);
    if (w.captureAction < 0) return G_SOURCE_REMOVE;
    inputPoll();
    if (w.capture.step() == ComboCapture::State::kDone) {
        if (!isEscape(w.capture.combo())) {
            char text[kHotKeyTextSize];
            comboFormat(w.capture.combo(), text, sizeof text);
            w.combos[w.captureAction][w.captureSlot] = text;
            showCombo(w, w.captureAction, w.captureSlot);
        }
        endCapture(w);
        return G_SOURCE_REMOVE;
    }
    if (std::chrono::steady_clock::now() >= w.captureEnd) {
        endCapture(w);
        return G_SOURCE_REMOVE;
    }
    return G_SOURCE_CONTINUE;
}

void onCaptureResponse(GtkDialog*, int, gpointer data) { endCapture(*static_cast<Window*>(data)); }

void onSetCombo(GtkButton* button, gpointer data) {
    auto& w = *static_cast<Window*>(data);
    if (w.captureAction >= 0) return;
    if (!w.inputReady) {
        inputInit();
        inputOpen();
        w.inputReady = true;
    }
    w.captureAction = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "action"));
    w.captureSlot = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "slot"));
    w.capture.reset();
    inputPoll();  // what is down now (the click's own key) starts from here
    w.captureEnd = std::chrono::steady_clock::now() + std::chrono::seconds(kCaptureSeconds);
    w.captureDialog = gtk_message_dialog_new(GTK_WINDOW(w.window), GTK_DIALOG_MODAL, GTK_MESSAGE_OTHER,
                                             GTK_BUTTONS_CANCEL,
                                             "Press the combination (up to three keys or buttons), then let go.\n"
                                             "Escape or %i seconds without a press cancel.",
                                             kCaptureSeconds);
    g_signal_connect(w.captureDialog, "response", G_CALLBACK(onCaptureResponse), &w);
    gtk_widget_show_all(w.captureDialog);
    g_timeout_add(50, pollCapture, &w);
}

void onClearCombo(GtkButton* button, gpointer data) {
    auto& w = *static_cast<Window*>(data);
    const int action = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "action"));
    const int slot = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(button), "slot"));
    w.combos[action][slot].clear();
    showCombo(w, action, slot);
}

void buildHotKeyPage(Window& w, GtkWidget* notebook) {
    GtkWidget* grid = newPage(notebook, "_Hot keys");
    for (int slot = 0; slot < kHotKeySlots; ++slot) {
        GtkWidget* heading = gtk_label_new(slot == 0 ? "First combination" : "Second combination");
        gtk_grid_attach(GTK_GRID(grid), heading, 1 + slot * 3, 0, 3, 1);
    }
    for (int action = 0; action < kHotKeyActionCount; ++action) {
        GtkWidget* name = gtk_label_new_with_mnemonic(kActionLabels[action]);
        gtk_widget_set_halign(name, GTK_ALIGN_START);
        gtk_grid_attach(GTK_GRID(grid), name, 0, action + 1, 1, 1);
        for (int slot = 0; slot < kHotKeySlots; ++slot) {
            w.combos[action][slot] = w.file->settings().hotKeys[action][slot];
            w.comboLabels[action][slot] = gtk_label_new("");
            gtk_label_set_width_chars(GTK_LABEL(w.comboLabels[action][slot]), 22);
            gtk_label_set_ellipsize(GTK_LABEL(w.comboLabels[action][slot]), PANGO_ELLIPSIZE_END);
            showCombo(w, action, slot);
            GtkWidget* set = gtk_button_new_with_label("Set");
            GtkWidget* clear = gtk_button_new_with_label("Clear");
            gtk_widget_set_tooltip_text(set, "Press the new combination after clicking");
            gtk_widget_set_tooltip_text(clear, "Leave this combination unassigned");
            gtk_widget_set_tooltip_text(w.comboLabels[action][slot], "The combination that runs this action");
            for (GtkWidget* b : {set, clear}) {
                g_object_set_data(G_OBJECT(b), "action", GINT_TO_POINTER(action));
                g_object_set_data(G_OBJECT(b), "slot", GINT_TO_POINTER(slot));
            }
            g_signal_connect(set, "clicked", G_CALLBACK(onSetCombo), &w);
            g_signal_connect(clear, "clicked", G_CALLBACK(onClearCombo), &w);
            if (slot == 0) gtk_label_set_mnemonic_widget(GTK_LABEL(name), set);
            gtk_grid_attach(GTK_GRID(grid), w.comboLabels[action][slot], 1 + slot * 3, action + 1, 1, 1);
            gtk_grid_attach(GTK_GRID(grid), set, 2 + slot * 3, action + 1, 1, 1);
            gtk_grid_attach(GTK_GRID(grid), clear, 3 + slot * 3, action + 1, 1, 1);
        }
    }
}

void showError(Window& w, const std::string& text) {
    GtkWidget* error = gtk_message_dialog_new(GTK_WINDOW(w.window), GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                                              GTK_BUTTONS_CLOSE, "%s", text.c_str());
    gtk_dialog_run(GTK_DIALOG(error));
    gtk_widget_destroy(error);
}

// Copies every control into the record; false with *why when the disc path cannot be stored (the
// other controls only hold valid values).
bool collect(Window& w, std::string* why) {
    Settings& s = w.file->settings();
    std::string ignored;
    for (const Control& c : w.controls) {
        std::string value;
        if (GTK_IS_TOGGLE_BUTTON(c.widget)) {
            value = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(c.widget)) ? "true" : "false";
        } else if (GTK_IS_SPIN_BUTTON(c.widget)) {
            gtk_spin_button_update(GTK_SPIN_BUTTON(c.widget));
            value = std::to_string(gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(c.widget)));
        } else {
            value = std::to_string(static_cast<int>(gtk_range_get_value(GTK_RANGE(c.widget)) + 0.5));
        }
        setSettingValue(&s, *c.key, value, &ignored);
    }
    for (int action = 0; action < kHotKeyActionCount; ++action) {
        for (int slot = 0; slot < kHotKeySlots; ++slot) {
            std::strncpy(s.hotKeys[action][slot], w.combos[action][slot].c_str(), kHotKeyTextSize - 1);
            s.hotKeys[action][slot][kHotKeyTextSize - 1] = '\0';
        }
    }
    const std::string disc = gtk_entry_get_text(GTK_ENTRY(w.discEntry));
    if (disc != s.current) {
        if (!setSettingValue(&s, *findSettingKey("cd selection:current"), disc, why)) {
            *why = "The disc path cannot be stored: " + *why;
            return false;
        }
        if (!disc.empty()) w.file->addRecent(disc);
    }
    return true;
}

void onOk(GtkButton*, gpointer data) {
    auto& w = *static_cast<Window*>(data);
    std::string why;
    if (!collect(w, &why)) return showError(w, why);
    if (!w.file->save(&why)) return showError(w, "The settings were not saved: " + why);
    w.result = 0;
    gtk_widget_destroy(w.window);
}

void onCancel(GtkButton*, gpointer data) { gtk_widget_destroy(static_cast<Window*>(data)->window); }

}  // namespace

int runDialog(int argc, char** argv) {
    if (!gtk_init_check(&argc, &argv)) {
        std::fprintf(stderr, "lumadisc-config: the display cannot be opened; use the command line (--help).\n");
        return 2;
    }
    SettingsFile file;
    std::string why;
    if (!file.open(&why)) {  // the file is written on OK only
        std::fprintf(stderr, "lumadisc-config: %s\n", why.c_str());
        return 2;
    }
    Window w;
    w.file = &file;
    w.window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(w.window), "lumaDisc settings");
    gtk_window_set_resizable(GTK_WINDOW(w.window), TRUE);
    g_signal_connect(w.window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);

    GtkWidget* notebook = gtk_notebook_new();
    buildDiscPage(w, notebook);
    GtkWidget* reading = newPage(notebook, "R_eading");
    addFlag(w, reading, 0, "cdrom property:caching", "Cache read sec_tors");
    addNumber(w, reading, 1, "cdrom property:cachinglevel", "Cache si_ze (sectors):", false);
    addFlag(w, reading, 2, "cdrom property:readsubchannels", "Read su_bchannel data");
    addFlag(w, reading, 3, "cdrom property:ppfpatching", "Apply _PPF patches");
    addNumber(w, reading, 4, "cdrom property:speedlimitation", "Drive _speed limit (x single speed, 0 = fastest):", false);
    addNumber(w, reading, 5, "cdrom property:spindowntime", "Drive spin-down t_ime (s, 0 = the drive's own):", false);
    addNumber(w, reading, 6, "cdrom property:tryagainonerror", "Retries on a read e_rror (times):", false);
    GtkWidget* audio = newPage(notebook, "_Audio");
    addFlag(w, audio, 0, "cdrom property:playcdda", "_Play CD audio tracks");
    addNumber(w, audio, 1, "cdrom property:cddavolumelevel", "CD audio _volume (%):", true);
    addFlag(w, audio, 2, "cdrom property:playcdxa", "Play _XA audio");
    addNumber(w, audio, 3, "cdrom property:cdxavolumelevel", "XA vo_lume (%):", true);
    buildHotKeyPage(w, notebook);
    GtkWidget* misc = newPage(notebook, "_Misc");
    addFlag(w, misc, 0, "misc:enablelogging", "Write a _log (lumaDisc.log)");
    addFlag(w, misc, 1, "misc:calldialogonstart", "_Run this program when the disc opens");
    addFlag(w, misc, 2, "misc:savesettingsonexit", "Sa_ve hot-key changes when the disc closes");

    GtkWidget* ok = gtk_button_new_with_mnemonic("_OK");
    GtkWidget* cancel = gtk_button_new_with_mnemonic("_Cancel");
    gtk_widget_set_tooltip_text(ok, "Save the settings and close");
    gtk_widget_set_tooltip_text(cancel, "Close without changing the settings");
    g_signal_connect(ok, "clicked", G_CALLBACK(onOk), &w);
    g_signal_connect(cancel, "clicked", G_CALLBACK(onCancel), &w);
    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    // Which file OK writes: the emulator reads this one.
    GtkWidget* where = gtk_label_new(("Settings file: " + file.path()).c_str());
    gtk_label_set_ellipsize(GTK_LABEL(where), PANGO_ELLIPSIZE_START);
    gtk_widget_set_tooltip_text(where, file.path().c_str());
    gtk_box_pack_start(GTK_BOX(buttons), where, TRUE, TRUE, 0);
    gtk_widget_set_halign(where, GTK_ALIGN_START);
    gtk_box_pack_end(GTK_BOX(buttons), ok, FALSE, FALSE, 0);
    gtk_box_pack_end(GTK_BOX(buttons), cancel, FALSE, FALSE, 0);
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_container_set_border_width(GTK_CONTAINER(box), 8);
    gtk_box_pack_start(GTK_BOX(box), notebook, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(box), buttons, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(w.window), box);
    gtk_widget_show_all(w.window);
    gtk_main();
    if (w.inputReady) {
        inputClose();
        inputShutdown();
    }
    return w.result;
}

}  // namespace lumadisc::configprogram
