#!/usr/bin/env python3
"""Registers the generated pieces of two models into a temporary registry and prints what the
models share.

From a build tree:   PYTHONPATH=build/python python3 examples/share_two_models.py
"""

import os
import tempfile

import SharedCodeManager as scm

# What code generation produced for each model: the utilities it calls, the shared functions it
# defines (the four checksum elements come from the generator) and the constants it uses.
MODELS = {
    "engine": {
        "utilities": ["rt_SATURATE", "rt_Lookup1D"],
        "functions": [((0x1A2B, 7, 42, 1), "filter_step", "filter_step.c")],
        "constants": [((3, 1, 4, 1), "K_gain", "2.5", False)],
    },
    "brakes": {
        "utilities": ["rt_SATURATE", "rt_Hypot"],
        "functions": [((0x1A2B, 7, 42, 1), "filter_step", "filter_step.c"),
                      ((0x5C, 9, 9, 2), "abs_control", "abs_control.c"),
                      # the same key under another name: a clash, kept out of the registry
                      ((0x1A2B, 7, 42, 1), "brake_filter", "brake_filter.c")],
        "constants": [((3, 1, 4, 1), "K_gain", "2.5", True)],
    },
}


def register_model(registry, model, pieces):
    """Registers one model's pieces and prints each outcome."""
    for utility in pieces["utilities"]:
        record = scm.BasicUtilityData(utility, utility, Name=utility, ModelNames=[model],
                                      Traceability=[f"{model}:{utility}"])
        outcome = registry.registerData(scm.BasicUtilityIdentity(utility), record)
        print(f"  {model:7} utility   {utility:12} {outcome}")
    for elements, name, file_name in pieces["functions"]:
        record = scm.SharedFunctionData(name, file_name, Name=name)
        outcome = registry.registerData(scm.SharedFunctionIdentity(*elements), record)
        print(f"  {model:7} function  {name:12} {outcome}")
    for elements, name, value, generate in pieces["constants"]:
        record = scm.SharedConstantsData(name, InitialString=value, GenerateConstant=generate)
        outcome = registry.registerData(scm.SharedConstantsIdentity(*elements), record)
        print(f"  {model:7} constant  {name:12} {outcome}")


def print_registry(registry):
    """Prints every entry and which models use it."""
    print("Utilities:")
    for record in registry.retrieveAllData("SCM_UTILITIES"):
        print(f"  {record.Name:12} used by {', '.join(record.ModelNames)}")
    print("Shared functions:")
    for identity in registry.retrieveAllIdentities("SCM_SHARED_FUNCTIONS"):
        record = registry.retrieveData(identity)
        print(f"  {record.FunctionName:12} in {record.FileName} (key {identity.Checksum})")
    print("Shared constants:")
    for record in registry.retrieveAllData("SCM_SHARED_CONSTANTS"):
        print(f"  {record.Name:12} = {record.InitialString}, generated: {record.GenerateConstant}")


def main():
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "shared.sldd")
        with scm.SharedCodeManagerInterface(path) as registry:
            for model, pieces in MODELS.items():
                register_model(registry, model, pieces)
            print()
            print_registry(registry)


if __name__ == "__main__":
    main()
