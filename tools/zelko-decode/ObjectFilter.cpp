#include "tools/zelko-decode/ObjectFilter.h"

#include <sstream>

bool ObjectFilter::Add(const std::string& list, const Known& known, std::set<std::string>& to, std::string& why)
{
    std::istringstream items(list);
    for (std::string item; std::getline(items, item, ',');) {
        if (!known(item)) {
            why = "'" + item + "' is no message id or class";
            return false;
        }
        to.insert(item);
    }
    return true;
}

bool ObjectFilter::Only(const std::string& list, const Known& known, std::string& why)
{
    return Add(list, known, m_only, why);
}

bool ObjectFilter::Skip(const std::string& list, const Known& known, std::string& why)
{
    return Add(list, known, m_skip, why);
}

bool ObjectFilter::Names(const std::set<std::string>& set, int id, const std::string& objectClass)
{
    return set.count(objectClass) != 0 || (id != 0 && set.count(std::to_string(id)) != 0);
}

bool ObjectFilter::Shows(int id, const std::string& objectClass) const
{
    if (!m_only.empty() && !Names(m_only, id, objectClass)) return false;
    return !Names(m_skip, id, objectClass);
}
