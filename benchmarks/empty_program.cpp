// SPDX-License-Identifier: Apache-2.0
// Does nothing: what its start takes, no program with these libraries can be without.
int main() {
    return 0;
}
