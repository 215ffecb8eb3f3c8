// bytes.h: values at any byte offset. Described data, record headers and packed buffers are not aligned.

#ifndef ZEBBASE_SRC_BYTES_H
#define ZEBBASE_SRC_BYTES_H

#include <concepts>
#include <cstring>

// Floating values stay bytes while they move: returned by value on i386 they pass an x87 register, which changes a
// signalling NaN. Copy them with memcpy, or load them as integers.
template <typename T>
requires(!std::floating_point<T>) [[nodiscard]] inline T Load(const void *pv) {
  T t;
  std::memcpy(&t, pv, sizeof t);
  return t;
}

template <typename T>
requires(!std::floating_point<T>) inline void Store(void *pv, T t) { std::memcpy(pv, &t, sizeof t); }

#endif
