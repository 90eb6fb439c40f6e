#pragma once

#include <exception>
#include <string>

// A failed run-time assertion of the camera layer. The exception reports
// itself: the constructor composes the text and writes it to standard error,
// so a catch site needs to do nothing more for the failure to be logged.
//
// expression and file are stored as pointers and must outlive the exception
// (string literals, as the throwing macros pass them).
class AssertFailureException : public std::exception
{
public:
    AssertFailureException(char const* expression, char const* file, int line, int errorCode,
                           std::string const& message);
    AssertFailureException(char const* expression, char const* file, int line,
                           std::string const& message);
    ~AssertFailureException() override;

    char const* what() const noexcept override;
    void logError() const;

private:
    void compose(bool withErrorCode, int errorCode);

    char const* m_expression;
    char const* m_file;
    int m_line;
    std::string m_message;
    std::string m_fullMessage;
};

// Throws when cond is false, naming the condition and where it failed.
#define ASSERT_OR_THROW(cond, message)                                                             \
    do {                                                                                           \
        if (!(cond))                                                                               \
            throw AssertFailureException(#cond, __FILE__, __LINE__, (message));                    \
    } while (0)

// The same with an error code (a negative errno, for instance) in the report.
#define ASSERT_OR_THROW_CODE(cond, code, message)                                                  \
    do {                                                                                           \
        if (!(cond))                                                                               \
            throw AssertFailureException(#cond, __FILE__, __LINE__, (code), (message));            \
    } while (0)
