# Puts the text of a file between the lines <!-- NAME --> and <!-- end of NAME --> of a page:
# awk -v name=NAME -v text=FILE -f put.awk PAGE

$0 == "<!-- end of " name " -->" { inside = 0 }
!inside { print }
$0 == "<!-- " name " -->" {
    inside = found = 1
    while ((getline replacement < text) > 0) print replacement
}
END { if (!found) { print "no place for " name > "/dev/stderr"; exit 1 } }
