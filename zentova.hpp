/**
 * @file zentova.hpp
 * The library for C++20: classes of the engine as C++ classes, owners, typed properties, functions as slots, and the
 * containers as ranges.
 *
 * @code
 * struct Gauge : zt::Class<Gauge, ztObject> {
 *   static constexpr auto className = "Gauge";
 *   int32_t level = 0;
 *   void setLevel(int32_t value) { level = value; emit("levelChanged", value); }
 *   static void define(zt::Def<Gauge> &c) { c.property<&Gauge::level, &Gauge::setLevel>("level"); }
 * };
 *
 * auto gauge = zt::make<Gauge>();
 * auto seen = zt::connect(gauge, "levelChanged", [](int32_t level) { std::printf("%d\n", level); });
 * zt::Property<int32_t>("level").set(gauge, 42);
 * @endcode
 *
 * All of it stands on the C interface, with or without exceptions and run-time type information; all sources of a
 * program that share a class are compiled with exceptions, or all without. An exception that leaves a slot, a getter,
 * a setter or a method reaches the C++ code that called the engine. Where memory is exhausted, what makes an object
 * throws std::bad_alloc; without exceptions it gives an empty owner.
 *
 * Where a function takes "an object", it takes an owner, a reference or a pointer. As in C, one thread at a time uses
 * an object with all that is connected to it, its owners and connections included.
 */
#ifndef ZT_ZENTOVA_HPP
#define ZT_ZENTOVA_HPP

#include "cpp/accessors.hpp"
#include "cpp/arguments.hpp"
#include "cpp/children.hpp"
#include "cpp/class.hpp"
#include "cpp/connect.hpp"
#include "cpp/containers.hpp"
#include "cpp/cpart.hpp"
#include "cpp/owners.hpp"
#include "cpp/property.hpp"
#include "cpp/views.hpp"
#include "cpp/walks.hpp"
#include "zentova.h"

#endif
