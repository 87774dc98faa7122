// Which objects the decoder prints (--only, --skip): lists of message ids ("3002") and classes
// ("TPV", "SKY", "GpsFixMsg", "REFUSED"). The closing summary is always printed.
#ifndef GPSDR_TOOLS_ZELKO_DECODE_OBJECTFILTER_H
#define GPSDR_TOOLS_ZELKO_DECODE_OBJECTFILTER_H

#include <functional>
#include <set>
#include <string>

class ObjectFilter {
public:
    // Whether a list item names something the decoder prints.
    using Known = std::function<bool(const std::string& item)>;

    // Adds the comma-separated items of list; false with the first unknown item in why.
    bool Only(const std::string& list, const Known& known, std::string& why);
    bool Skip(const std::string& list, const Known& known, std::string& why);

    // id is 0 for objects that are not a message.
    bool Shows(int id, const std::string& objectClass) const;

private:
    static bool Add(const std::string& list, const Known& known, std::set<std::string>& to, std::string& why);
    static bool Names(const std::set<std::string>& set, int id, const std::string& objectClass);

    std::set<std::string> m_only, m_skip;
};

#endif
