#include "core/Help.h"

const char* helpText() {
    return "Velu, a desktop companion that thinks on your own PC.\n"
           "\n"
           "usage: velu [mode]\n"
           "\n"
           "  (no mode)             the companion on the desktop\n"
           "  --ask QUESTION        ask one question and leave the answer in ask-output.txt\n"
           "  --search QUERY        search the web\n"
           "  --wavtest WAV [--followup]      follow a recording from sound to command\n"
           "  --miccap \"WAV\" SECONDS [--dev NAME]   record the microphone\n"
           "  --facetest \"IMAGE\" ...          find the faces in pictures\n"
           "  --camtest SECONDS [--enroll]    watch through the camera\n"
           "  --shot PNG [--size HEIGHT] [--jaw DEGREES] [--yaw DEGREES] [--alpha]\n"
           "                        draw the head into a picture\n"
           "  --help, --version     this text, and the version\n"
           "\n"
           "The data lies in $VELU_HOME if that is set, else in $XDG_DATA_HOME/Velu or "
           "~/.local/share/Velu.\n";
}

const char* versionText() {
    return "Velu " VELU_VERSION "\n";
}
