#pragma once

#include <common/logger/functionname.h>
#include <common/vxcommon_export.h>

#include <QString>
#include <QTextStream>

#include <cstddef>

/**
 * @file
 * Logging: levels, channels, loggers and the log statement.
 *
 * A statement such as
 * @code
 * LOG_MESSAGE(common::logger::Warn) << "no response from " << host << " after " << seconds << " s";
 * @endcode
 * builds one Message on the stack. When the statement ends, the current ILogger writes the message.
 *
 * A source file logs on the channel "main" unless it declares its own channel inside one of its namespaces,
 * where name lookup finds it first:
 * @code
 * namespace common::http
 * {
 * namespace
 * {
 * constexpr logger::Channel logChannel{"http.request"};
 * }
 * ...
 * @endcode
 * In a function of the global namespace, name the channel in the statement: LOG_MESSAGE_ON(channel, level).
 */
namespace common::logger
{

/// Severity of a message, or threshold of a logger. Lower values are more severe.
enum Level : int
{
    Fatal = 0,
    Alert = 1,
    Crit = 2,
    Error = 3,
    Warn = 4,
    Notice = 5,
    Info = 6,
    Debug = 7,
    NotSet = 8 ///< Messages with this or a higher value are dropped and never reach a logger.
};

/// The part of a program that logs. Must outlive every message that points to it, so make it constexpr.
struct Channel
{
    const char* name; ///< Dotted path such as "http.request"; names the log4cpp category.
};

/// Scope of the option bits for ILogger::Configure.
struct Option
{
    /// Option bits; combine them with `|`.
    enum Bit : unsigned int
    {
        ShowSource = 1,   ///< Append the source location to each line.
        ShowFunction = 2, ///< Include the function name in the source location.
        /// Format lines with a conversion pattern; takes precedence over the other layouts.
        PatternLayout = 256,
        SimpleLayout = 512, ///< Format lines with log4cpp's SimpleLayout.
        BasicLayout = 1024  ///< Format lines with log4cpp's BasicLayout; takes precedence over SimpleLayout.
    };
};

/// Scope of the target bits for ILogger::Configure.
struct Target
{
    /// Target bits; combine them with `|`.
    enum Bit : unsigned int
    {
        Console = 1,    ///< Standard output.
        Debugger = 2,   ///< OutputDebugString on Windows, standard error elsewhere.
        File = 4,       ///< A log file of unlimited size.
        RollingFile = 8 ///< A log file with numbered backups; takes precedence over File.
    };
};

/// A finished log line. Valid only during ILogger::Write.
class VXCOMMON_EXPORT IMessage
{
public:
    virtual int GetLevel() const = 0;              ///< Usually a value of Level.
    virtual const Channel* GetChannel() const = 0; ///< May be null.
    virtual const QString* GetText() const = 0;    ///< Never null.
    virtual int GetLine() const = 0;               ///< Source line; 0 if unknown.
    virtual const char* GetFile() const = 0;       ///< Source path of static lifetime; may be null.
    virtual const char* GetFunction() const = 0;   ///< Qualified name of static lifetime; may be null.

protected:
    ~IMessage() = default;
};

#ifdef __GNUC__ // ILogger::Destroy hides the virtual function on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

/// The operations of a logger, in the order of the virtual table. Derive from ILogger.
class VXCOMMON_EXPORT ILoggerOperations
{
public:
    /// Writes a complete message. Failures cannot be reported; a line that cannot be written is lost.
    virtual void Write(const IMessage& message) = 0;

    /// Returns the threshold: messages up to this level are written. NotSet if the logger has none.
    virtual int GetLevel() const = 0;
    virtual void SetLevel(int level) = 0; ///< @see GetLevel

    /// Returns whether each line ends with its source location (Option::ShowSource).
    virtual bool IsSourceShown() const = 0;
    virtual void SetSourceShown(bool shown) = 0; ///< @see IsSourceShown

    /**
     * Configures level, targets, format and files in a single call.
     *
     * @param level threshold, see SetLevel
     * @param targets bits of Target
     * @param options bits of Option
     * @param pattern conversion pattern of Option::PatternLayout; empty for the default pattern
     * @param qtChannel channel name for Qt's own messages
     * @param configFile path of a log4cpp property file; if loaded, it replaces level, files and pattern
     * @param logFile path of the main log; empty for none
     * @param shortLogFile path of the log of the channel "main" and the channels below it; empty for none
     * @param maxFileSize size in bytes at which a rolling file is rolled over
     * @param maxBackups number of backups of the main rolling file; log4cpp keeps at least one
     * @return always true for the loggers of this library, even if a file cannot be opened
     */
    virtual bool Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                           const QString& qtChannel, const QString& configFile, const QString& logFile,
                           const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) = 0;

    /// Loads a log4cpp property file. If this succeeds, Configure ignores level, files and pattern.
    virtual bool LoadConfiguration(const QString& configFile) = 0;

    /// Destroys and frees a logger that was created with `new`. Does nothing for the library's own loggers.
    virtual void Destroy() { delete this; }

    /// Attaches or detaches the log files. Detached files are closed and can be moved or removed.
    virtual void SetFileLoggingEnabled(bool enabled) = 0;

    virtual ~ILoggerOperations() = default;

protected:
    ILoggerOperations() = default;

private:
    Q_DISABLE_COPY(ILoggerOperations)
};

class ILogger;

/// Calls `logger->Destroy()`, or does nothing if `logger` is null.
VXCOMMON_EXPORT void DestroyLogger(ILogger* logger);

/**
 * Receives log lines. Any thread may call Write. Call all other operations on the thread that configures
 * logging.
 */
class VXCOMMON_EXPORT ILogger : public ILoggerOperations
{
public:
    /// Calls the virtual Destroy, or does nothing if `this` is null. A call through a null pointer is
    /// undefined behaviour, so the test is out of line, where the compiler cannot remove it. Sanitizers
    /// still report the call; use DestroyLogger if the pointer may be null.
    void Destroy(std::nullptr_t = nullptr) { DestroyLogger(this); }
};

#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif

/**
 * The default logger: writes through Qt's logging, each line in a category named after its channel.
 *
 * Writes nothing until SetLevel is called. Qt's messages go to the current logger, so a line written by this
 * logger comes back to it as a Qt message. Levels up to Error come back as Error, Warn as Warn, all others as
 * Debug. If the new level also passes the threshold, the line is printed on standard error without its
 * category. Takes no lock, so configure the logger before other threads log.
 */
class VXCOMMON_EXPORT Logger : public ILogger
{
public:
    constexpr Logger() = default;

    void Write(const IMessage& message) override;
    int GetLevel() const override;      ///< NotSet unless the stored level is between Fatal and Debug.
    void SetLevel(int level_) override; ///< Stores any number unchanged.
    bool IsSourceShown() const override;
    void SetSourceShown(bool shown) override; ///< Sets or clears Option::ShowSource.
    /// Stores targets and options. Loads `configFile` or, if that fails, sets the level. Ignores the other
    /// arguments.
    bool Configure(int level_, unsigned int targets_, unsigned int options_, const QString& pattern,
                   const QString& qtChannel, const QString& configFile, const QString& logFile,
                   const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) override;
    bool LoadConfiguration(const QString& configFile) override; ///< Always returns false.
    void SetFileLoggingEnabled(bool enabled) override;          ///< Does nothing, as there are no files.

private:
    int level = -1;
    unsigned int targets = 0;
    unsigned int options = 0;
};

/// Returns the current logger, which receives all log statements; null only after SetLogger(nullptr).
VXCOMMON_EXPORT ILogger* GetLogger();

/**
 * Makes `logger` the current logger and returns the previous one. Takes no ownership. If `logger` is null,
 * log statements write nothing. Call this function at start-up, before other threads log.
 */
VXCOMMON_EXPORT ILogger* SetLogger(ILogger* logger);

/**
 * Returns the process-wide logger that writes through log4cpp: console, debugger and two rolling files.
 *
 * The library owns the logger. Its GetLevel returns NotSet, because log4cpp's categories hold the threshold.
 * Its Configure throws a log4cpp exception if the pattern of the console or the debugger is invalid. Files
 * that cannot be opened are ignored. Lines that are logged after static destruction are dropped.
 *
 * Available if VXCOMMON_HAS_LOG4CPP is 1.
 */
VXCOMMON_EXPORT ILogger* GetLog4cpp();

/// A log statement. Lives on the stack, collects the text, and passes itself to its logger when destroyed.
class VXCOMMON_EXPORT Message final : public IMessage
{
public:
    /// The text sink: a QTextStream that writes to its own string.
    class VXCOMMON_EXPORT Stream : public QTextStream
    {
    public:
        Stream();
        const QString& GetText() const { return text; } ///< The text streamed so far.

    private:
        Q_DISABLE_COPY(Stream)

        QString text;
    };

    /// Copies no string: `channel_`, `file_` and `function_` must outlive the message.
    Message(ILogger* logger_, const Channel* channel_, int level_, const char* file_, const char* function_,
            int line_);
    ~Message();

    Stream& GetStream() { return stream; } ///< Returns the stream that collects the text.

    int GetLevel() const override { return level; }
    const Channel* GetChannel() const override { return channel; }
    const QString* GetText() const override { return &stream.GetText(); }
    int GetLine() const override { return line; }
    const char* GetFile() const override { return file; }
    const char* GetFunction() const override { return function; }

private:
    Q_DISABLE_COPY(Message)

    Stream stream;
    ILogger* logger;
    const Channel* channel;
    int level;
    const char* file;
    const char* function;
    int line;
};

} // namespace common::logger

/// The channel of every source file that declares none in an inner namespace.
[[maybe_unused]] static constexpr common::logger::Channel logChannel{"main"};

/// A log statement on a given Channel of static lifetime, used as a stream.
#define LOG_MESSAGE_ON(channel, level)                                                                       \
    ::common::logger::Message(::common::logger::GetLogger(), &(channel), (level), __FILE__,                  \
                              VXCOMMON_FUNCTION_NAME, __LINE__)                                              \
        .GetStream()

/// A log statement on the channel of the source file: LOG_MESSAGE(common::logger::Info) << "started";
#define LOG_MESSAGE(level) LOG_MESSAGE_ON(logChannel, level)
