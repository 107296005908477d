#pragma once
// The list operations that the owning pointer lists of data items and of
// resources share: inserting beside an item, dropping one, deleting all.
#include <list>

namespace webstep::forms {

// Inserts before where (at the end when where is the end); where then names
// the new item.
template <class T>
void InsertBefore(std::list<T*>& list, T* item, typename std::list<T*>::iterator& where) {
    if (where != list.end())
        where = list.insert(where, item);
    else
        list.push_back(item);
}

// Inserts after where; where then names the new item, unless where was the
// end or the last item, when the item is appended and where is left as it was.
template <class T>
void InsertAfter(std::list<T*>& list, T* item, typename std::list<T*>::iterator& where) {
    if (where != list.end()) {
        auto next = where;
        ++next;
        if (next != list.end()) {
            where = list.insert(next, item);
            return;
        }
    }
    list.push_back(item);
}

// Takes the first occurrence of item out of the list without deleting it.
template <class T>
void RemoveFirst(std::list<T*>& list, T* item) {
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (*it == item) {
            list.erase(it);
            return;
        }
    }
}

template <class T>
void DeleteAll(std::list<T*>& list) {
    for (T* item : list)
        delete item;
    list.clear();
}

// Copying a list copies the pointers, not the items; the target's own items
// are deleted first.
template <class T>
void AssignShared(std::list<T*>& list, const std::list<T*>& source) {
    if (&list == &source)
        return;
    DeleteAll(list);
    for (T* item : source)
        list.push_back(item);
}

}  // namespace webstep::forms
