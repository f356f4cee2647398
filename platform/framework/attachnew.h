// attachnew.h - what was made for an object becomes the object's, or is gone again.
#ifndef KORVANEAFX_ATTACHNEW_H
#define KORVANEAFX_ATTACHNEW_H

// Attaches a handle that was just made; FALSE when there is none. When memory is out, `release(handle)` is called before
// the exception goes on: nobody else has the handle.
template <class Object, class Handle, class Release> auto AttachNew(Object& object, Handle handle, Release release)
{
    try {
        return object.Attach(handle);
    } catch (...) {
        release(handle);
        throw;
    }
}

#endif
