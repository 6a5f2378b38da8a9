// kvictl: the command line over the controller-data layer.
#include "cli/App.h"

int main(int argc, char** argv) {
    cli::App app;
    return app.main(argc, argv);
}
