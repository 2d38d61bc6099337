#!/bin/sh
# Writes the time into time.txt in the program's folder, which is the current one.
date '+%Y-%m-%d %H:%M:%S' >time.txt
