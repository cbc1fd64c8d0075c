# Read by cpack before it makes packages. rpm, which it asks what rpmbuild can do, makes itself a database in
# the home folder when it finds none.
set(ENV{HOME} ${CPACK_PACKAGE_DIRECTORY}/_CPack_Packages)
