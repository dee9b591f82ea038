#!/usr/bin/env bats
# What is refused, with nothing done.
load words

@test "options and values, and what does not go together" { endsAsTold refused-options; }
@test "tool packages, and programs that are missing" { endsAsTold refused-packages; }
@test "update files" { endsAsTold refused-inputs; }
@test "inputs that are not signed, or have other sums" { endsAsTold trusted-inputs; }
@test "places for the medium and the log" { endsAsTold refused-outputs; }
@test "keys, drives and discs, and what cannot be compared" { endsAsTold refused-media; }
