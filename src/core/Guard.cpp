#include "core/Guard.h"

#include <exception>

#include "foundation/Log.h"

bool guarded(const char* name, const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (const std::exception& error) {
        logLine("%s ended by an unexpected error: %s", name, error.what());
    } catch (...) {
        logLine("%s ended by an unexpected error", name);
    }
    return false;
}
