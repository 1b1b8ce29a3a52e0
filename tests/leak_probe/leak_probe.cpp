// Brings the toolkit up as the settings program does (a window shown and destroyed), with the settings
// program's leak-checker suppressions linked in; with --leak it then loses a block of its own. In a
// sanitizer build the first run must end cleanly and the second must be reported.
#include <gtk/gtk.h>

#include <cstdlib>
#include <cstring>

namespace {

// Allocates a block and drops the only pointer to it, in a frame of its own so that no register of the
// caller still holds it when the leak checker looks.
__attribute__((noinline)) void loseBlock() {
    void* volatile block = std::malloc(4096);
    std::memset(block, 1, 4096);
    block = nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    const bool leak = argc > 1 && std::strcmp(argv[1], "--leak") == 0;
    if (!gtk_init_check(&argc, &argv)) return 3;
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_widget_show_all(window);
    for (int i = 0; i < 50 && gtk_events_pending(); ++i) gtk_main_iteration_do(FALSE);
    gtk_widget_destroy(window);
    while (gtk_events_pending()) gtk_main_iteration_do(FALSE);
    if (leak) loseBlock();
    return 0;
}
