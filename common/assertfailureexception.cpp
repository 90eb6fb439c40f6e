#include "assertfailureexception.h"

#include <cstring>
#include <iostream>
#include <sstream>

namespace {

// Null pointers are not expected from the throwing macros; print them as
// empty rather than crash while reporting a failure.
char const* orEmpty(char const* text)
{
    return text ? text : "";
}

bool isBareFalse(char const* expression)
{
    return std::strcmp(expression, "false") == 0 || std::strcmp(expression, "0") == 0
           || std::strcmp(expression, "FALSE") == 0;
}

} // namespace

AssertFailureException::AssertFailureException(char const* expression, char const* file, int line,
                                               int errorCode, std::string const& message)
    : m_expression(expression), m_file(file), m_line(line), m_message(message)
{
    compose(true, errorCode);
    logError();
}

AssertFailureException::AssertFailureException(char const* expression, char const* file, int line,
                                               std::string const& message)
    : m_expression(expression), m_file(file), m_line(line), m_message(message)
{
    compose(false, 0);
    logError();
}

AssertFailureException::~AssertFailureException() = default;

void AssertFailureException::compose(bool withErrorCode, int errorCode)
{
    std::ostringstream text;
    if (!m_message.empty())
        text << m_message << ": ";
    char const* expression = orEmpty(m_expression);
    if (isBareFalse(expression))
        text << "Illegal code assertion";
    else
        text << "Assertion '" << expression << "'";
    text << " failed in file '" << orEmpty(m_file) << "' line " << m_line;
    if (withErrorCode)
        text << "' error code: " << errorCode << "'";
    m_fullMessage = text.str();
    m_fullMessage += '\n';
}

char const* AssertFailureException::what() const noexcept
{
    return m_fullMessage.c_str();
}

void AssertFailureException::logError() const
{
    std::cerr << m_fullMessage << std::endl;
}
