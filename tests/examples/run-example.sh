#!/usr/bin/env bash
# Runs a host of the examples on a copy of its project, and compares what it prints, and what it
# changes in the project, with a file: run-example.sh EXPECTED PROJECT PROGRAM [ARGUMENT...]
set -euo pipefail

expected=$(realpath "$1")
project=$(realpath "$2")
program=$3
shift 3

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
cp -r "$project" before
cp -r "$project" project

status=0
"$program" project "$@" >output 2>&1 || status=$?
{
    echo "exit code $status"
    diff --recursive before project || true
} >>output

diff --unified "$expected" output
