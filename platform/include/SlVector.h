#pragma once

#include <vector>

// The PI service's vector of arguments.
template <typename T>
class SlVector
{
public:
    SlVector() = default;

    void push_back(const T& value) { m_items.push_back(value); }
    void append(const T& value) { m_items.push_back(value); }
    void clear() { m_items.clear(); }
    int size() const { return static_cast<int>(m_items.size()); }
    int count() const { return size(); }
    bool isEmpty() const { return m_items.empty(); }
    T& operator[](int i) { return m_items[static_cast<size_t>(i)]; }
    const T& operator[](int i) const { return m_items[static_cast<size_t>(i)]; }
    const T& at(int i) const { return m_items.at(static_cast<size_t>(i)); }

private:
    std::vector<T> m_items;
};
