#pragma once

#include <common/logger/functionname.h>
#include <common/vxcommon_export.h>

#include <QString>
#include <QTextStream>

#include <cstddef>

/**
 * @file
 * The one door for log lines.
 *
 * A statement such as
 * @code
 * LOG_MESSAGE(common::logger::Warn) << "no answer from " << host << " after " << seconds << " s";
 * @endcode
 * builds one Message on the stack and, at its end, hands it to the current ILogger. A source file speaks on
 * the channel "main" unless it declares a channel of its own inside one of its namespaces:
 * @code
 * namespace common::http
 * {
 * namespace
 * {
 * constexpr logger::Channel logChannel{"http.request"};
 * }
 * ...
 * @endcode
 * Ordinary name lookup then finds the inner one first.
 */
namespace common::logger
{

/// Severity of a message and threshold of a logger. The worst comes first: a small number is a grave message.
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
    NotSet = 8 ///< A message at this level or above is dropped without asking any logger.
};

/// Which part of a program speaks. Must outlive every message that points to it, so make it constexpr.
struct Channel
{
    const char* name; ///< Dotted path such as "http.request"; the dots are log4cpp's category hierarchy.
};

/// Bits of the `options` argument of ILogger::Configure.
enum Option : unsigned int
{
    ShowSource = 1,      ///< End each line in where its statement stands.
    ShowFunction = 2,    ///< Tell there in which function, too.
    PatternLayout = 256, ///< Lines by a conversion pattern; wins over the two below.
    SimpleLayout = 512,  ///< log4cpp's SimpleLayout.
    BasicLayout = 1024   ///< log4cpp's BasicLayout; wins over SimpleLayout.
};

/// Bits of the `targets` argument of ILogger::Configure.
enum Target : unsigned int
{
    Console = 1,    ///< Standard output.
    Debugger = 2,   ///< The Windows debugger channel; standard error elsewhere.
    File = 4,       ///< One log file that grows without end.
    RollingFile = 8 ///< A log file with numbered backups; wins over File.
};

/// One finished log line as a logger sees it. Valid only during ILogger::Write.
class VXCOMMON_EXPORT IMessage
{
public:
    virtual int GetLevel() const = 0;              ///< Usually one of Level.
    virtual const Channel* GetChannel() const = 0; ///< May be null.
    virtual const QString* GetText() const = 0;    ///< Never null.
    virtual int GetLine() const = 0;               ///< Source line; 0 if unknown.
    virtual const char* GetFile() const = 0;       ///< Source path of static lifetime; may be null.
    virtual const char* GetFunction() const = 0;   ///< Qualified name of static lifetime; may be null.

protected:
    ~IMessage() = default;
};

/**
 * Receiver of log lines. Write may be called from any thread; everything else belongs to the thread that sets
 * logging up.
 */
class VXCOMMON_EXPORT ILogger
{
public:
    /// Gets each message when its text is complete. There is no way to report that a line was lost.
    virtual void Write(const IMessage& message) = 0;

    /// The threshold: messages up to this level are kept; NotSet if the logger has none of its own.
    virtual int GetLevel() const = 0;
    virtual void SetLevel(int level) = 0; ///< Sets the threshold.

    /// Whether lines end in their source location (Option::ShowSource).
    virtual bool IsSourceShown() const = 0;
    virtual void SetSourceShown(bool shown) = 0; ///< See IsSourceShown.

    /**
     * Everything that a program settles about its log, at once.
     *
     * @param level threshold, see SetLevel
     * @param targets bits of Target
     * @param options bits of Option
     * @param pattern conversion pattern for PatternLayout; empty for the default pattern
     * @param qtChannel name of the channel for Qt's own messages
     * @param configFile external configuration; if it can be loaded, it decides on level, files and patterns
     * @param logFile path of the main log; empty for none
     * @param shortLogFile path of the log of the channel "main" and those below it; empty for none
     * @param maxFileSize size in bytes at which a rolling file is rolled over
     * @param maxBackups number of backups of the main rolling file; log4cpp keeps one at least
     * @return true in the loggers of this library, also if a file cannot be opened
     */
    virtual bool Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                           const QString& qtChannel, const QString& configFile, const QString& logFile,
                           const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) = 0;

    /// Reads log4cpp's property file; after true, Configure only keeps targets, options and channel.
    virtual bool LoadConfiguration(const QString& configFile) = 0;

    /**
     * Destroys a logger that was made on the heap and frees it. Does nothing on the loggers that the library
     * itself owns, and nothing through a null pointer.
     *
     * C++ leaves a member call through null undefined, and compilers drop a test of `this`. So this front is
     * not virtual and does not look at `this`: it passes it on as an ordinary argument to DestroyLogger,
     * which is compiled elsewhere and tests it there before the virtual step, DoDestroy. What remains is the
     * caller's side: the compiler may take the pointer for non-null behind the call, and a sanitizer reports
     * the call itself. Where a pointer may be null, call DestroyLogger on it, which is defined for null.
     */
    void Destroy();

private:
    /// What Destroy does on a logger that is there; stands at this place in the virtual table.
    virtual void DoDestroy() { delete this; }

public:
    /// Attaches or detaches the log files without closing the logger.
    virtual void SetFileLoggingEnabled(bool enabled) = 0;

    virtual ~ILogger() = default;

protected:
    ILogger() = default;

private:
    friend VXCOMMON_EXPORT void DestroyLogger(ILogger* logger);
    Q_DISABLE_COPY(ILogger)
};

/// ILogger::Destroy as a function of an ordinary pointer, which may be null.
VXCOMMON_EXPORT void DestroyLogger(ILogger* logger);

inline void ILogger::Destroy()
{
    DestroyLogger(this);
}

/**
 * The default logger: writes through Qt's logging, each line under a category named after its channel.
 *
 * Silent until SetLevel is called. Qt's messages come back to the current logger: with this one current a
 * line comes back as a message of Qt's, and is printed bare on standard error if that passes the threshold,
 * warnings and worse by their own level, all others only at Debug. Takes no lock: set it up before other
 * threads log.
 */
class VXCOMMON_EXPORT Logger : public ILogger
{
public:
    constexpr Logger() = default;

    void Write(const IMessage& message) override;
    int GetLevel() const override;     ///< NotSet unless the stored level is one of Fatal to Debug.
    void SetLevel(int level) override; ///< Stores any number as it is.
    bool IsSourceShown() const override;
    void SetSourceShown(bool shown) override; ///< Sets or clears the bit of the options.
    /// Stores targets and options, loads `configFile` or else sets the level; the other arguments are not
    /// used.
    bool Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                   const QString& qtChannel, const QString& configFile, const QString& logFile,
                   const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) override;
    bool LoadConfiguration(const QString& configFile) override; ///< Always false: there is nothing to load.
    void SetFileLoggingEnabled(bool enabled) override;          ///< Does nothing: there is no file.

private:
    int level = -1;
    unsigned int targets = 0;
    unsigned int options = 0;
};

/// The logger that statements go to. Never null unless null was set.
VXCOMMON_EXPORT ILogger* GetLogger();

/**
 * Makes `logger` current and returns the one that was; who made it keeps it. Null turns statements silent.
 * Belongs into the start of a program, while it has one thread.
 */
VXCOMMON_EXPORT ILogger* SetLogger(ILogger* logger);

/**
 * The one logger that writes through log4cpp: console, debugger and two rolling files.
 *
 * Made on the first call; the library owns it. Its GetLevel returns NotSet, since log4cpp's categories hold
 * the threshold. Configure throws what log4cpp throws on a bad pattern for console or debugger, and keeps
 * silent about files that cannot be opened. Lines written after static destruction has passed it are dropped.
 *
 * Present in builds with VXCOMMON_HAS_LOG4CPP.
 */
VXCOMMON_EXPORT ILogger* GetLog4cpp();

/// One log statement: lives on the stack, collects the text, and delivers itself to its logger when it dies.
class VXCOMMON_EXPORT Message final : public IMessage
{
public:
    /// The text sink: a QTextStream on a string of its own.
    class VXCOMMON_EXPORT Stream : public QTextStream
    {
    public:
        Stream();
        const QString& GetText() const { return text; } ///< What was streamed so far.

    private:
        Q_DISABLE_COPY(Stream)

        QString text;
    };

    /// Copies no string: `channel`, `file` and `function` must outlive the message.
    Message(ILogger* logger, const Channel* channel, int level, const char* file, const char* function,
            int line);
    ~Message();

    Stream& GetStream() { return stream; } ///< Where the items of the statement go.

    int GetLevel() const override;
    const Channel* GetChannel() const override;
    const QString* GetText() const override;
    int GetLine() const override;
    const char* GetFile() const override;
    const char* GetFunction() const override;

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

/// Channel of every source file that declares none of its own in an inner namespace.
[[maybe_unused]] static constexpr common::logger::Channel logChannel{"main"};

/// One log statement, used as a stream: LOG_MESSAGE(common::logger::Info) << "started";
#define LOG_MESSAGE(level)                                                                                   \
    ::common::logger::Message(::common::logger::GetLogger(), &logChannel, (level), __FILE__,                 \
                              VXCOMMON_FUNCTION_NAME, __LINE__)                                              \
        .GetStream()
