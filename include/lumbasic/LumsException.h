// The one failure type of the library. It carries a trail: the message of what
// went wrong first, then what each frame on the way out added.
#pragma once

#include <exception>
#include <string>
#include <vector>

class CLumsException : public std::exception
{
public:
    CLumsException() = default;

    // Appends a file or method label.
    void Add(const char* psz) { m_aTrail.emplace_back(psz ? psz : ""); }
    // Appends a new empty entry for the caller to fill.
    std::string& AddString()
    {
        m_aTrail.emplace_back();
        return m_aTrail.back();
    }

    const std::vector<std::string>& GetTrail() const { return m_aTrail; }
    // The trail joined by newlines.
    const char* what() const noexcept override;

private:
    std::vector<std::string> m_aTrail;
    mutable std::string m_strWhat;
};

// The text of a catalogue message by id; an unknown id gives the empty text.
std::string LoadMessage(int id);
