#pragma once
// The constants that each model class answers, taken from the roster's tables so that the
// class and the tables cannot disagree.

#include <string>

#include "unitops/roster/catalog.hpp"

//! In an operation class: ModelID, IsA and DefaultPrefix of the model `id`.
#define TAL_OPERATION_IDENTITY(id)                                                                     \
    unsigned ModelID() const override { return id; }                                                   \
    std::string IsA() const override { return ::unitops::roster::FindOperation(id)->isA; }             \
    std::string DefaultPrefix() const override { return ::unitops::roster::FindOperation(id)->defaultPrefix; }

//! In an equipment class: TypeID, IsA, DefaultPrefix and DefaultDescription of the type `id`.
#define TAL_EQUIPMENT_IDENTITY(id)                                                                     \
    int TypeID() const override { return id; }                                                         \
    std::string IsA() const override { return ::unitops::roster::FindEquipment(id)->isA; }             \
    std::string DefaultPrefix() const override { return ::unitops::roster::FindEquipment(id)->defaultPrefix; } \
    std::string DefaultDescription() const override { return ::unitops::roster::FindEquipment(id)->defaultDescription; }
