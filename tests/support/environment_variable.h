#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace dravo::testing {

/// A variable of this process's environment, which gets its old value back.
class EnvironmentVariable {
public:
    explicit EnvironmentVariable(const char* name) : name_(name) {
        if (const char* value = std::getenv(name)) before_ = value;
    }
    EnvironmentVariable(const char* name, const std::string& value) : EnvironmentVariable(name) { set(value); }
    ~EnvironmentVariable() { set(before_ ? before_->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

    /// Null takes it away.
    void set(const char* value) { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }
    void set(const std::string& value) { set(value.c_str()); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

}  // namespace dravo::testing
