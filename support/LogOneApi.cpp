#include "support/LogOneApi.h"

#include "support/LoggerRegistry.h"
#include "support/LogOneImpl.h"

namespace {

// Every function's frame: nothing happens outside the registry's life, the API lock is held for the whole run.
template <class Action>
void WithLogger(uint32_t id, Action action) noexcept {
    if (!LoggingAlive()) {
        return;
    }
    const MC_Lock lock(&ApiLock());
    if (LogOne* const logger = Registry().Find(id)) {
        action(*logger);
    }
}

void SetThreshold(uint32_t id, LogOne& logger, int32_t level) noexcept {
    logger.SetLevel(level);
    if (id == g_addinLogger.id) {
        g_addinLogger.threshold = level;
    }
}

uint32_t OpenLogger(const LogOneConfig& config) {
    const uint32_t id = Registry().Add(config.path, std::make_unique<LogOneImpl>(config.path));
    LogOne* const logger = Registry().Find(id);
    if (config.maxSizeKB > 0) {
        logger->SetMaxSizeKB(static_cast<uint32_t>(config.maxSizeKB));
    }
    if (config.backupCount > 0) {
        logger->SetBackupCount(config.backupCount);
    }
    SetThreshold(id, *logger, config.level);
    return id;
}

} // namespace

uint32_t LogOneOpen(const LogOneConfig* config) noexcept {
    if (config == nullptr || config->path == nullptr || !LoggingAlive()) {
        return 0;
    }
    const MC_Lock lock(&ApiLock());
    try {
        return OpenLogger(*config);
    } catch (...) {
        return 0; // Logging never fails its caller, out of memory included.
    }
}

void LogOneClose(uint32_t id) noexcept {
    if (!LoggingAlive()) {
        return;
    }
    const MC_Lock lock(&ApiLock());
    Registry().Remove(id);
}

void LogOneWrite(uint32_t id, const char* tag, int32_t level, const char* function, const char* file, int32_t line,
                 const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    WithLogger(id, [&](LogOne& logger) { logger.VWrite(tag, function, file, line, level, format, arguments); });
    va_end(arguments);
}

void LogOneSetMaxSize(uint32_t id, uint32_t kibibytes) noexcept {
    WithLogger(id, [&](LogOne& logger) { logger.SetMaxSizeKB(kibibytes); });
}

void LogOneSetLevel(uint32_t id, int32_t level) noexcept {
    WithLogger(id, [&](LogOne& logger) { SetThreshold(id, logger, level); });
}
