#!/usr/bin/env bash
# Runs a host of the examples on a copy of its project, and compares what it prints, and what it
# changes in the project, with a file:
# run-example.sh EXPECTED PROJECT EMULATOR PROGRAM [ARGUMENT...]
#
# EMULATOR is what runs the program on another machine, with its arguments separated by ";"; empty
# for nothing.
set -euo pipefail

expected=$(realpath "$1")
project=$(realpath "$2")
IFS=';' read -ra program <<<"$3"
program+=("$4")
shift 4

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
cp -r "$project" before
cp -r "$project" project

status=0
"${program[@]}" project "$@" >output 2>&1 || status=$?
{
    echo "exit code $status"
    diff --recursive before project || true
} >>output

diff --unified "$expected" output
